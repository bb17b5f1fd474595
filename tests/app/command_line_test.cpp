#include "app/command_line.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

using Arguments = std::vector<std::wstring>;

Arguments argumentsOf(const CommandLine& line)
{
    return {line.args.get(), line.args.get() + line.count};
}

Arguments split(const wchar_t* source)
{
    CommandLine line;
    tokenize(line, source);
    return argumentsOf(line);
}

// A lookup, and all that it may change.
struct Lookup {
    int found;
    std::wstring value;
    Arguments left;
};

constexpr wchar_t preset[] = L"preset";
constexpr wchar_t defaultValue[] = L"default";

Lookup lookUp(const wchar_t* source, const wchar_t* name)
{
    CommandLine line;
    tokenize(line, source);
    const wchar_t* value = preset;
    const int found = getOption(line, name, value, defaultValue);
    return {found, value, argumentsOf(line)};
}

void expectFound(const std::wstring& value, const Arguments& left, const Lookup& lookup)
{
    EXPECT_EQ(1, lookup.found);
    EXPECT_EQ(value, lookup.value);
    EXPECT_EQ(left, lookup.left);
}

void expectNotFound(const std::wstring& value, const Arguments& left,
                    const Lookup& lookup)
{
    EXPECT_EQ(0, lookup.found);
    EXPECT_EQ(value, lookup.value);
    EXPECT_EQ(left, lookup.left);
}

TEST(Tokenize, SplitsAtBlanks)
{
    EXPECT_EQ((Arguments{L"norv", L"-base", L"FF"}), split(L"norv -base FF"));
}

TEST(Tokenize, SkipsBlanksBeforeBetweenAndBehindArguments)
{
    EXPECT_EQ((Arguments{L"norv", L"-safe"}), split(L"  norv   -safe  "));
}

TEST(Tokenize, TakesATabForACharacterLikeAnyOther)
{
    EXPECT_EQ((Arguments{L"norv", L"a\tb\nc"}), split(L"norv a\tb\nc"));
}

TEST(Tokenize, KeepsBlanksInsideQuotes)
{
    EXPECT_EQ((Arguments{L"norv", L" a b ", L"c"}), split(L"norv \" a b \" c"));
}

TEST(Tokenize, TakesABackslashForACharacterLikeAnyOther)
{
    EXPECT_EQ((Arguments{L"a\\", L"b\\", L"c"}), split(L"\"a\\\" b\\ c"));
}

TEST(Tokenize, TakesAQuoteInsideAWordForACharacterLikeAnyOther)
{
    EXPECT_EQ((Arguments{L"ab\"c"}), split(L"ab\"c"));
}

TEST(Tokenize, EndsAWordWithAQuoteInsideAtItsBlank)
{
    EXPECT_EQ((Arguments{L"a\"b", L"c\""}), split(L"a\"b c\""));
}

TEST(Tokenize, StartsANewArgumentRightBehindAClosingQuote)
{
    EXPECT_EQ((Arguments{L"ab", L"cd"}), split(L"\"ab\"cd"));
}

TEST(Tokenize, StartsQuotesRightBehindQuotes)
{
    EXPECT_EQ((Arguments{L"a b", L"c d"}), split(L"\"a b\"\"c d\""));
}

TEST(Tokenize, LetsAnUnclosedQuoteRunToTheEndOfTheLine)
{
    EXPECT_EQ((Arguments{L"norv", L"-base FF "}), split(L"norv \"-base FF "));
}

TEST(Tokenize, MakesAnEmptyArgumentOfTwoQuotes)
{
    EXPECT_EQ((Arguments{L"norv", L"", L"x"}), split(L"norv \"\" x"));
}

TEST(Tokenize, MakesAnEmptyArgumentOfAQuoteAtTheEnd)
{
    EXPECT_EQ((Arguments{L"norv", L""}), split(L"norv \""));
}

TEST(Tokenize, MakesNoArgumentOfAnEmptyLine)
{
    EXPECT_EQ(Arguments{}, split(L""));
}

TEST(Tokenize, MakesNoArgumentOfBlanks)
{
    EXPECT_EQ(Arguments{}, split(L"   "));
}

TEST(Tokenize, LeavesTheSourceAsItIs)
{
    const std::wstring source = L"norv \"a b\" c";
    CommandLine line;
    tokenize(line, source.c_str());
    EXPECT_EQ(L"norv \"a b\" c", source);
}

TEST(Tokenize, ReplacesAnEarlierLine)
{
    CommandLine line;
    tokenize(line, L"a b c");
    tokenize(line, L"d");
    EXPECT_EQ(Arguments{L"d"}, argumentsOf(line));
}

TEST(Tokenize, ReplacesAnEarlierLineByNoneAtAll)
{
    CommandLine line;
    tokenize(line, L"a b c");
    tokenize(line, L"");
    EXPECT_EQ(0, line.count);
}

class RemoveArg : public testing::Test
{
protected:
    RemoveArg()
    {
        tokenize(line, L"a b c");
    }

    CommandLine line;
};

TEST_F(RemoveArg, ClosesTheGap)
{
    EXPECT_EQ(1, removeArg(line, 1));
    EXPECT_EQ((Arguments{L"a", L"c"}), argumentsOf(line));
}

TEST_F(RemoveArg, TakesTheFirst)
{
    EXPECT_EQ(1, removeArg(line, 0));
    EXPECT_EQ((Arguments{L"b", L"c"}), argumentsOf(line));
}

TEST_F(RemoveArg, TakesTheLast)
{
    EXPECT_EQ(1, removeArg(line, 2));
    EXPECT_EQ((Arguments{L"a", L"b"}), argumentsOf(line));
}

TEST_F(RemoveArg, RefusesAnIndexThatIsNotBelowTheCount)
{
    EXPECT_EQ(0, removeArg(line, 3));
    EXPECT_EQ((Arguments{L"a", L"b", L"c"}), argumentsOf(line));
}

TEST(GetOption, TakesTheNextArgument)
{
    expectFound(L"4", {L"norv", L"-safe"}, lookUp(L"norv -threads 4 -safe", L"-threads"));
}

TEST(GetOption, IgnoresCaseInAnExactName)
{
    expectFound(L"4", {L"norv"}, lookUp(L"norv -THREADS 4", L"-threads"));
}

TEST(GetOption, IgnoresCaseInAPrefix)
{
    expectFound(L"4", {L"norv"}, lookUp(L"norv -ThReAdS4", L"-threads"));
}

TEST(GetOption, TakesWhatFollowsAnEqualsSign)
{
    expectFound(L"4", {L"norv", L"x"}, lookUp(L"norv -threads=4 x", L"-threads"));
}

TEST(GetOption, TakesAnAttachedValue)
{
    expectFound(L"4", {L"norv", L"x"}, lookUp(L"norv -threads4 x", L"-threads"));
}

TEST(GetOption, TakesTheNextArgumentBehindALoneEqualsSign)
{
    expectFound(L"4", {L"norv", L"x"}, lookUp(L"norv -threads= 4 x", L"-threads"));
}

TEST(GetOption, TakesOneEqualsSignOnlyForTheSeparator)
{
    expectFound(L"=4", {L"norv"}, lookUp(L"norv -threads==4", L"-threads"));
}

TEST(GetOption, TakesAnotherOptionForAValue)
{
    expectFound(L"-safe", {L"norv"}, lookUp(L"norv -base -safe", L"-base"));
}

TEST(GetOption, TakesAnEmptyArgumentForAValue)
{
    expectFound(L"", {L"norv"}, lookUp(L"norv -base \"\"", L"-base"));
}

TEST(GetOption, TakesTheLastOfSeveralExactNames)
{
    expectFound(L"8", {L"norv", L"-threads", L"4"},
                lookUp(L"norv -threads 4 -threads 8", L"-threads"));
}

TEST(GetOption, TakesTheLastOfSeveralPrefixes)
{
    expectFound(L"8", {L"norv", L"-threads4", L"x"},
                lookUp(L"norv -threads4 -threads=8 x", L"-threads"));
}

TEST(GetOption, PrefersAnExactNameToALaterPrefix)
{
    expectFound(L"AA", {L"norv", L"-baseBB"}, lookUp(L"norv -base AA -baseBB", L"-base"));
}

TEST(GetOption, LooksAtTheProgramsNameToo)
{
    expectFound(L"4", {}, lookUp(L"-threads 4", L"-threads"));
}

TEST(GetOption, LeavesTheValueAloneWhenTheNameStandsLast)
{
    expectNotFound(preset, {L"norv", L"-threads"}, lookUp(L"norv -threads", L"-threads"));
}

TEST(GetOption, LooksNoFurtherThanANameThatStandsLast)
{
    expectNotFound(preset, {L"norv", L"-threads", L"4", L"-threads"},
                   lookUp(L"norv -threads 4 -threads", L"-threads"));
}

TEST(GetOption, LooksForNoPrefixWhenTheNameStandsLast)
{
    expectNotFound(preset, {L"norv", L"-threads4", L"-threads"},
                   lookUp(L"norv -threads4 -threads", L"-threads"));
}

TEST(GetOption, GivesTheDefaultWhenALoneEqualsSignStandsLast)
{
    expectNotFound(defaultValue, {L"norv"}, lookUp(L"norv -threads=", L"-threads"));
}

TEST(GetOption, GivesTheDefaultWithoutTheOption)
{
    expectNotFound(defaultValue, {L"norv", L"4"}, lookUp(L"norv 4", L"-threads"));
}

TEST(GetOption, KnowsNoOtherIntroducer)
{
    expectNotFound(defaultValue, {L"norv", L"/threads", L"4", L"threads", L"4"},
                   lookUp(L"norv /threads 4 threads 4", L"-threads"));
}

TEST(GetOption, TakesNoShorterArgumentForAPrefix)
{
    expectNotFound(defaultValue, {L"norv", L"-thread", L"4"},
                   lookUp(L"norv -thread 4", L"-threads"));
}

TEST(GetOption, FindsNothingInAnEmptyLine)
{
    expectNotFound(defaultValue, {}, lookUp(L"  ", L"-threads"));
}

TEST(TakeFlag, FindsAndRemovesTheFlag)
{
    CommandLine line;
    tokenize(line, L"norv -safe x");
    EXPECT_EQ(1, takeFlag(line, L"-safe"));
    EXPECT_EQ((Arguments{L"norv", L"x"}), argumentsOf(line));
}

TEST(TakeFlag, IgnoresCase)
{
    CommandLine line;
    tokenize(line, L"norv -SAFE");
    EXPECT_EQ(1, takeFlag(line, L"-safe"));
}

TEST(TakeFlag, RemovesTheLastOfSeveralOnly)
{
    CommandLine line;
    tokenize(line, L"norv -safe x -SAFE");
    EXPECT_EQ(1, takeFlag(line, L"-safe"));
    EXPECT_EQ((Arguments{L"norv", L"-safe", L"x"}), argumentsOf(line));
}

TEST(TakeFlag, HasNoPrefixForm)
{
    CommandLine line;
    tokenize(line, L"norv -safe=1 -safe1");
    EXPECT_EQ(0, takeFlag(line, L"-safe"));
    EXPECT_EQ((Arguments{L"norv", L"-safe=1", L"-safe1"}), argumentsOf(line));
}

TEST(TakeFlag, FindsNothingInAnEmptyLine)
{
    CommandLine line;
    tokenize(line, L"");
    EXPECT_EQ(0, takeFlag(line, L"-safe"));
}

} // namespace

#include "app/command_line.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

namespace
{

using Arguments = std::vector<std::wstring>;

Arguments argumentsOf(const CommandLine& line)
{
    return {line.args.get(), line.args.get() + line.count};
}

struct Split {
    const char* name;
    const wchar_t* source;
    Arguments arguments;

    friend std::ostream& operator<<(std::ostream& out, const Split& split)
    {
        return out << split.name;
    }
};

class Tokenize : public testing::TestWithParam<Split>
{
};

TEST_P(Tokenize, Splits)
{
    const std::wstring source = GetParam().source;
    CommandLine line;
    tokenize(line, source.c_str());
    EXPECT_EQ(GetParam().arguments, argumentsOf(line));
    EXPECT_EQ(GetParam().source, source);
}

const Split splits[] = {
    {"AtBlanks", L"norv -base FF", {L"norv", L"-base", L"FF"}},
    {"AtBlanksInARowAndAround", L"  norv   -safe  ", {L"norv", L"-safe"}},
    {"NotAtOtherWhiteSpace", L"norv a\tb\nc", {L"norv", L"a\tb\nc"}},
    {"NotInsideQuotes", L"norv \" a b \" c", {L"norv", L" a b ", L"c"}},
    {"NotByBackslashes", L"\"a\\\" b\\ c", {L"a\\", L"b\\", L"c"}},
    {"NotAtAQuoteInsideAWord", L"ab\"c", {L"ab\"c"}},
    {"AWordWithAQuoteInsideAtItsBlank", L"a\"b c\"", {L"a\"b", L"c\""}},
    {"AfterAClosingQuote", L"\"ab\"cd", {L"ab", L"cd"}},
    {"BetweenQuotesAndQuotes", L"\"a b\"\"c d\"", {L"a b", L"c d"}},
    {"NothingAfterAnUnclosedQuote", L"norv \"-base FF ", {L"norv", L"-base FF "}},
    {"AnEmptyArgumentOffAtTwoQuotes", L"norv \"\" x", {L"norv", L"", L"x"}},
    {"AnEmptyArgumentOffAtAQuoteAtTheEnd", L"norv \"", {L"norv", L""}},
    {"AnEmptyLineIntoNothing", L"", {}},
    {"BlanksIntoNothing", L"   ", {}}};

INSTANTIATE_TEST_SUITE_P(Lines, Tokenize, testing::ValuesIn(splits),
                         testing::PrintToStringParamName());

TEST(TokenizeAgain, ReplacesAnEarlierLine)
{
    CommandLine line;
    tokenize(line, L"a b c");
    tokenize(line, L"d");
    EXPECT_EQ(Arguments{L"d"}, argumentsOf(line));
    tokenize(line, L"");
    EXPECT_EQ(0, line.count);
}

struct Removal {
    std::int32_t index;
    int removed;
    Arguments left;

    friend std::ostream& operator<<(std::ostream& out, const Removal& removal)
    {
        return out << removal.index;
    }
};

class RemoveArg : public testing::TestWithParam<Removal>
{
};

TEST_P(RemoveArg, ClosesTheGapAt)
{
    CommandLine line;
    tokenize(line, L"a b c");
    EXPECT_EQ(GetParam().removed, removeArg(line, GetParam().index));
    EXPECT_EQ(GetParam().left, argumentsOf(line));
}

// The last one is not below the count.
INSTANTIATE_TEST_SUITE_P(Indexes, RemoveArg,
                         testing::Values(Removal{0, 1, {L"b", L"c"}},
                                         Removal{1, 1, {L"a", L"c"}},
                                         Removal{2, 1, {L"a", L"b"}},
                                         Removal{3, 0, {L"a", L"b", L"c"}}),
                         testing::PrintToStringParamName());

constexpr wchar_t preset[] = L"preset";
constexpr wchar_t defaultValue[] = L"default";

// A lookup of "-threads", and all that it may change.
struct Lookup {
    const char* name;
    const wchar_t* source;
    int found;
    const wchar_t* value;
    Arguments left;

    friend std::ostream& operator<<(std::ostream& out, const Lookup& lookup)
    {
        return out << lookup.name;
    }
};

class GetOption : public testing::TestWithParam<Lookup>
{
};

TEST_P(GetOption, Takes)
{
    CommandLine line;
    tokenize(line, GetParam().source);
    const wchar_t* value = preset;
    EXPECT_EQ(GetParam().found, getOption(line, L"-threads", value, defaultValue));
    EXPECT_STREQ(GetParam().value, value);
    EXPECT_EQ(GetParam().left, argumentsOf(line));
}

const Lookup lookups[] = {
    {"TheNextArgument", L"norv -threads 4 -safe", 1, L"4", {L"norv", L"-safe"}},
    {"AnExactNameInAnyCase", L"norv -THREADS 4", 1, L"4", {L"norv"}},
    {"APrefixInAnyCase", L"norv -ThReAdS4", 1, L"4", {L"norv"}},
    {"WhatFollowsAnEqualsSign", L"norv -threads=4 x", 1, L"4", {L"norv", L"x"}},
    {"AnAttachedValue", L"norv -threads4 x", 1, L"4", {L"norv", L"x"}},
    {"TheNextArgumentAfterALoneEqualsSign",
     L"norv -threads= 4 x",
     1,
     L"4",
     {L"norv", L"x"}},
    {"OneEqualsSignOnlyForTheSeparator", L"norv -threads==4", 1, L"=4", {L"norv"}},
    {"AnotherOption", L"norv -threads -safe", 1, L"-safe", {L"norv"}},
    {"AnEmptyArgument", L"norv -threads \"\"", 1, L"", {L"norv"}},
    {"TheLastOfSeveralExactNames",
     L"norv -threads 4 -threads 8",
     1,
     L"8",
     {L"norv", L"-threads", L"4"}},
    {"TheLastOfSeveralPrefixes",
     L"norv -threads4 -threads=8 x",
     1,
     L"8",
     {L"norv", L"-threads4", L"x"}},
    {"AnExactNameBeforeALaterPrefix",
     L"norv -threads 4 -threads8",
     1,
     L"4",
     {L"norv", L"-threads8"}},
    {"TheProgramsNameToo", L"-threads 4", 1, L"4", {}},
    {"NothingFromANameThatStandsLast",
     L"norv -threads",
     0,
     preset,
     {L"norv", L"-threads"}},
    {"NothingBeforeANameThatStandsLast",
     L"norv -threads 4 -threads",
     0,
     preset,
     {L"norv", L"-threads", L"4", L"-threads"}},
    {"NoPrefixBesideANameThatStandsLast",
     L"norv -threads4 -threads",
     0,
     preset,
     {L"norv", L"-threads4", L"-threads"}},
    {"TheDefaultForALoneEqualsSignThatStandsLast",
     L"norv -threads=",
     0,
     defaultValue,
     {L"norv"}},
    {"TheDefaultWithoutTheOption", L"norv 4", 0, defaultValue, {L"norv", L"4"}},
    {"NoOtherIntroducer",
     L"norv /threads 4 threads 4",
     0,
     defaultValue,
     {L"norv", L"/threads", L"4", L"threads", L"4"}},
    {"NoShorterName", L"norv -thread 4", 0, defaultValue, {L"norv", L"-thread", L"4"}},
    {"TheDefaultFromAnEmptyLine", L"  ", 0, defaultValue, {}}};

INSTANTIATE_TEST_SUITE_P(Lines, GetOption, testing::ValuesIn(lookups),
                         testing::PrintToStringParamName());

struct Flag {
    const char* name;
    const wchar_t* source;
    int found;
    Arguments left;

    friend std::ostream& operator<<(std::ostream& out, const Flag& flag)
    {
        return out << flag.name;
    }
};

class TakeFlag : public testing::TestWithParam<Flag>
{
};

TEST_P(TakeFlag, Takes)
{
    CommandLine line;
    tokenize(line, GetParam().source);
    EXPECT_EQ(GetParam().found, takeFlag(line, L"-safe"));
    EXPECT_EQ(GetParam().left, argumentsOf(line));
}

const Flag flags[] = {
    {"TheFlag", L"norv -safe x", 1, {L"norv", L"x"}},
    {"TheFlagInAnyCase", L"norv -SAFE", 1, {L"norv"}},
    {"TheLastOfSeveral", L"norv -safe x -SAFE", 1, {L"norv", L"-safe", L"x"}},
    {"NoPrefix", L"norv -safe=1 -safe1", 0, {L"norv", L"-safe=1", L"-safe1"}},
    {"NothingFromAnEmptyLine", L"", 0, {}}};

INSTANTIATE_TEST_SUITE_P(Lines, TakeFlag, testing::ValuesIn(flags),
                         testing::PrintToStringParamName());

} // namespace

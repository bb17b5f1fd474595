// How the callback uses its lock, which nobody else can see.
#include "search/generation_callback.h"
#include "tests/fakes/tracked_lock.h"
#include "tests/platform/temporary_folder.h"
#include "tests/search/search_fixture.h"

#include <string>
#include <vector>

namespace
{

class GenerationCallbackLock : public SharedStateTest
{
protected:
    GenerationCallbackLock()
    {
        fakeAcquisitions.clear();
        outPrompt = path.c_str();
    }

    ~GenerationCallbackLock() override
    {
        fakeAcquired = fakeReleasing = [] {
        };
    }

    TemporaryFolder folder;
    std::wstring path = (folder / "progress").wstring();
    OneWayFlag stopFlag{0};
    OwnedCallback callback = makeCallback(stopFlag);
};

TEST_F(GenerationCallbackLock, IsTakenUnderItsTagForEachMarkInTheFile)
{
    callBack2(0, 0, callback.get());
    callBack2(1, 0, callback.get());
    EXPECT_EQ((std::vector<Acquisition>{{L"callBack2", 85}, {L"callBack2", 85}}),
              fakeAcquisitions);
}

TEST_F(GenerationCallbackLock, IsHeldUntilTheMarkStandsInTheFile)
{
    bool existedBefore = true;
    std::string contentAtEnd;
    fakeAcquired = [&] {
        existedBefore = std::filesystem::exists(path);
    };
    fakeReleasing = [&] {
        contentAtEnd = contentOf(path);
    };
    callBack2(2, 0, callback.get());
    EXPECT_FALSE(existedBefore);
    EXPECT_EQ("!", contentAtEnd);
}

TEST_F(GenerationCallbackLock, IsGivenUpWhenTheFileCannotBeOpened)
{
    std::filesystem::create_directory(path);
    bool released = false;
    fakeReleasing = [&] {
        released = true;
    };
    callBack2(0, 0, callback.get());
    EXPECT_TRUE(released);
}

TEST_F(GenerationCallbackLock, IsGivenUpBeforeTheFlagIsRead)
{
    fakeReleasing = [this] {
        stopFlag = 1;
    };
    EXPECT_EQ(0, callBack2(0, 0, callback.get()));
}

TEST_F(GenerationCallbackLock, IsNotTakenForStandardOutput)
{
    outPrompt = nullptr;
    testing::internal::CaptureStdout();
    callBack2(0, 0, callback.get());
    noPrompt = 1;
    callBack2(0, 0, callback.get());
    EXPECT_EQ(".", testing::internal::GetCapturedStdout());
    EXPECT_EQ(std::vector<Acquisition>{}, fakeAcquisitions);
}

} // namespace

// The semaphore as a file that other processes share: its name, its rights and
// what the end of a process does to it.
#include "platform/named_semaphore.h"

#include "tests/platform/named_semaphore_fixture.h"
#include "tests/platform/posix/child.h"
#include "tests/platform/posix/semaphore_locks.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/foreign_semaphore.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <sched.h>
#include <semaphore.h>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace
{

std::string narrow(const std::wstring& name)
{
    return {name.begin(), name.end()};
}

bool exists(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

ino_t inodeOf(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

// How many descriptors of this process lead to the very file that `path` names.
int descriptorsOf(const std::string& path)
{
    struct stat named = {};
    if (lstat(path.c_str(), &named) != 0)
        return 0;
    int found = 0;
    for (int descriptor = 0; descriptor < 64; ++descriptor) {
        struct stat opened = {};
        if (fstat(descriptor, &opened) == 0 && opened.st_dev == named.st_dev &&
            opened.st_ino == named.st_ino)
            ++found;
    }
    return found;
}

bool isAsleep(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string number;
    std::string name;
    char state = 0;
    return file >> number >> name >> state && state == 'S';
}

using Children = std::vector<std::unique_ptr<Child>>;

// The semaphore as a program has it that is not one of ours.
class ForeignHandle
{
public:
    explicit ForeignHandle(const std::wstring& name)
        : semaphore_(sem_open(std::string("/").append(narrow(name)).c_str(), 0))
    {
    }
    ForeignHandle(const ForeignHandle&) = delete;
    ForeignHandle& operator=(const ForeignHandle&) = delete;
    ~ForeignHandle()
    {
        if (*this)
            sem_close(semaphore_);
    }
    explicit operator bool() const
    {
        return semaphore_ != SEM_FAILED;
    }
    sem_t* get() const
    {
        return semaphore_;
    }

private:
    sem_t* semaphore_;
};

class PosixNamedSemaphore : public NamedSemaphoreFixture
{
protected:
    PosixNamedSemaphore()
        : NamedSemaphoreFixture(L"posix")
    {
    }

    ~PosixNamedSemaphore() override
    {
        rmdir(path.c_str());
    }

    // A file of this user's own where the semaphore's should be.
    void putFile(const char* content) const
    {
        writeFile(path, content);
        ASSERT_EQ(0, chmod(path.c_str(), 0600));
    }

    // What stands where the semaphore's file should be is in the way for good.
    void expectUnusable() const
    {
        EXPECT_TRUE(isRefused());
        EXPECT_TRUE(exists(path));
    }

    // What a run with another name does to the names of others.
    static void useAnotherName()
    {
        const std::wstring another = uniqueSemaphoreName(L"another");
        closeSemaphore(createNamedSemaphore(another.c_str(), 0, 1));
    }

    Children startSharing(unsigned int count) const;

    // A process that sleeps in its wait when this returns, and ends with 0 behind it.
    std::unique_ptr<Child> startWaiting(bool onlyWhenIdle);

    // A process that creates the semaphore and is killed while it holds it.
    void createAndDie(int count)
    {
        const Gate created;
        Child child([&] {
            create(count, 5);
            created.open();
            pause();
            return 0;
        });
        created.pass();
        child.killAndWait();
    }

    const std::string path = semaphoreFilePath(name);
};

TEST_F(PosixNamedSemaphore, IsTheFileThatItsNameStandsFor)
{
    SemaphoreHandle semaphore = create(0, 1);
    EXPECT_TRUE(exists(path));
    close(semaphore);
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, BelongsToItsUserAloneWhateverTheMask)
{
    for (const mode_t mask : {0000U, 0022U, 0777U}) {
        const mode_t former = umask(mask);
        SemaphoreHandle semaphore = create(0, 1);
        umask(former);
        ASSERT_NE(nullptr, semaphore);
        struct stat status = {};
        ASSERT_EQ(0, stat(path.c_str(), &status));
        EXPECT_EQ(0600U, status.st_mode & 07777U);
        EXPECT_EQ(geteuid(), status.st_uid);
        close(semaphore);
    }
}

TEST_F(PosixNamedSemaphore, LeavesNoDescriptorOpenWhenClosed)
{
    const int before = dup(0);
    ::close(before);
    SemaphoreHandle first = create(0, 1);
    SemaphoreHandle second = create(0, 1);
    EXPECT_EQ(2, descriptorsOf(path));
    close(first);
    close(second);
    const int after = dup(0);
    ::close(after);
    EXPECT_EQ(before, after);
}

TEST_F(PosixNamedSemaphore, IsNotHandedToProgramsThatThisOneStarts)
{
    create(0, 1);
    for (int descriptor = 3; descriptor < 64; ++descriptor) {
        struct stat opened = {};
        if (fstat(descriptor, &opened) == 0 && opened.st_ino == inodeOf(path)) {
            EXPECT_NE(0, fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
        }
    }
}

TEST_F(PosixNamedSemaphore, CannotHaveAnEmptyName)
{
    EXPECT_EQ(nullptr, createNamedSemaphore(L"", 0, 1));
    EXPECT_EQ(nullptr, openNamedSemaphore(L""));
    EXPECT_FALSE(exists("/dev/shm/sem."));
}

TEST_F(PosixNamedSemaphore, CannotHaveANameWithASlash)
{
    for (const std::wstring& tried :
         {std::wstring(L"/").append(name), name + L"/", name + L"/a"}) {
        EXPECT_EQ(nullptr, createNamedSemaphore(tried.c_str(), 0, 1));
        EXPECT_EQ(nullptr, openNamedSemaphore(tried.c_str()));
    }
    EXPECT_FALSE(exists(path));
}

class PosixNamedSemaphoreLength : public PosixNamedSemaphore,
                                  public testing::WithParamInterface<std::size_t>
{
};

TEST_P(PosixNamedSemaphoreLength, IsTakenWhenTheLibraryTakesIt)
{
    std::wstring longName = name + L"_";
    longName.resize(GetParam(), L'x');
    const bool libraryTakesIt = createForeign(longName, 0);
    if (libraryTakesIt)
        removeForeign(longName);
    EXPECT_EQ(GetParam() <= 251, libraryTakesIt);

    SemaphoreHandle semaphore = createNamedSemaphore(longName.c_str(), 0, 1);
    EXPECT_EQ(libraryTakesIt, semaphore != nullptr);
    if (semaphore) {
        EXPECT_TRUE(existsForeign(longName));
        closeSemaphore(semaphore);
    }
    EXPECT_FALSE(existsForeign(longName));
}

INSTANTIATE_TEST_SUITE_P(AroundTheLimit, PosixNamedSemaphoreLength,
                         testing::Values(250, 251, 252, 255, 256, 300, 5000));

TEST_F(PosixNamedSemaphore, CountsTheBytesOfANameNotItsCharacters)
{
    // 126 letters of two bytes each are one byte too many, 125 are not.
    EXPECT_EQ(nullptr, createNamedSemaphore(std::wstring(126, L'\u00E4').c_str(), 0, 1));
    SemaphoreHandle semaphore =
        createNamedSemaphore(std::wstring(125, L'\u00E4').c_str(), 0, 1);
    EXPECT_NE(nullptr, semaphore);
    if (semaphore)
        closeSemaphore(semaphore);
}

TEST_F(PosixNamedSemaphore, CanHaveANameOfDots)
{
    for (const wchar_t* dots : {L".", L".."}) {
        SemaphoreHandle semaphore = createNamedSemaphore(dots, 0, 1);
        ASSERT_NE(nullptr, semaphore);
        EXPECT_TRUE(exists(semaphoreFilePath(dots)));
        closeSemaphore(semaphore);
        EXPECT_FALSE(exists(semaphoreFilePath(dots)));
    }
}

TEST_F(PosixNamedSemaphore, IsNotMadeWhereAFolderStands)
{
    ASSERT_EQ(0, mkdir(path.c_str(), 0700));
    expectUnusable();
}

TEST_F(PosixNamedSemaphore, IsNotMadeWhereAFileTooShortStands)
{
    putFile("garbage");
    expectUnusable();
}

TEST_F(PosixNamedSemaphore, IsNotMadeWhereAnEmptyFileStands)
{
    putFile("");
    expectUnusable();
}

TEST_F(PosixNamedSemaphore, IsNotMadeWhereAPipeStands)
{
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    expectUnusable();
}

TEST_F(PosixNamedSemaphore, IsForeignWhenOthersMayUseIt)
{
    // Whoever may use it may hold its locks, too.
    SemaphoreHandle made = create(0, 1);
    ASSERT_EQ(0, chmod(path.c_str(), 0666));
    SemaphoreHandle created = create(0, 1);
    EXPECT_TRUE(releaseSemaphore(created));
    EXPECT_TRUE(releaseSemaphore(created));
    EXPECT_EQ(2, countForeign(name));
    close(created);
    close(made);
    EXPECT_FALSE(exists(path));
}

// Two processes that give it up in the same instant may each see that the other still has
// it. It takes chance to meet this instant, so they try it often.
TEST_F(PosixNamedSemaphore, IsRemovedByTheLastOfTwoThatGiveItUpAtOnce)
{
    for (int i = 0; i < 300; ++i) {
        const Gate created;
        const Gate closing;
        const auto hold = [&] {
            SemaphoreHandle semaphore = create(0, 1);
            created.open();
            closing.pass();
            close(semaphore);
            return 0;
        };
        Child one(hold);
        Child other(hold);
        created.pass();
        created.pass();
        closing.open();
        closing.open();
        EXPECT_EQ(0, one.wait());
        EXPECT_EQ(0, other.wait());
        ASSERT_FALSE(exists(path));
    }
}

TEST_F(PosixNamedSemaphore, IsForeignWithoutTheMarkOfOurOwn)
{
    // A semaphore that another kind of program of this user keeps in a file as long.
    createAndDie(3);
    const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_NE(-1, file);
    EXPECT_EQ(1, pwrite(file, "?", 1, sizeof(sem_t)));
    EXPECT_EQ(0, ::close(file));
    SemaphoreHandle semaphore = create(0, 1);
    EXPECT_EQ(3, countForeign(name));
    close(semaphore);
    EXPECT_TRUE(exists(path));
}

TEST_F(PosixNamedSemaphore, IsNotMadeThroughALink)
{
    const std::wstring otherName = uniqueSemaphoreName(L"target");
    ASSERT_TRUE(createForeign(otherName, 1));
    ASSERT_EQ(0, symlink(semaphoreFilePath(otherName).c_str(), path.c_str()));
    expectUnusable();
    EXPECT_EQ(1, countForeign(otherName));
    removeForeign(otherName);
}

TEST_F(PosixNamedSemaphore, IsNotOpenedWithoutTheRights)
{
    ASSERT_TRUE(createForeign(name, 1));
    ASSERT_EQ(0, chmod(path.c_str(), 0));
    Child child([this] {
        // No file is closed to the administrator, but to anybody else.
        if (geteuid() == 0 && setuid(65534) != 0)
            return 1;
        return isRefused() ? 0 : 2;
    });
    EXPECT_EQ(0, child.wait());
    EXPECT_TRUE(exists(path));
}

TEST_F(PosixNamedSemaphore, IsNotOpenedByAnotherUser)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only the administrator can become another user";
    const Gate created;
    Child child([&] {
        created.pass();
        if (setuid(65534) != 0)
            return 1;
        return isRefused() ? 0 : 2;
    });
    create(1, 1);
    created.open();
    EXPECT_EQ(0, child.wait());
    EXPECT_EQ(1, countForeign(name));
}

TEST_F(PosixNamedSemaphore, IsSharedByTwoProcesses)
{
    const Gate created;
    const Gate released;
    Child child([&] {
        SemaphoreHandle semaphore = create(0, 1);
        created.open();
        waitForSemaphore(semaphore);
        released.pass();
        const bool again = releaseSemaphore(semaphore);
        close(semaphore);
        return again ? 0 : 1;
    });
    created.pass();
    SemaphoreHandle semaphore = open();
    EXPECT_TRUE(releaseSemaphore(semaphore));
    released.open();
    EXPECT_EQ(0, child.wait());
    EXPECT_TRUE(waitForSemaphore(semaphore));
}

TEST_F(PosixNamedSemaphore, StaysUntilTheSecondProcessClosesIt)
{
    const Gate created;
    const Gate closed;
    Child child([&] {
        SemaphoreHandle semaphore = create(0, 1);
        created.open();
        closed.pass();
        if (!exists(path))
            return 1;
        close(semaphore);
        return exists(path) ? 2 : 0;
    });
    created.pass();
    SemaphoreHandle semaphore = create(0, 1);
    close(semaphore);
    closed.open();
    EXPECT_EQ(0, child.wait());
}

TEST_F(PosixNamedSemaphore, KeepsItsMaximumInEveryProcess)
{
    create(1, 1);
    Child child([this] {
        SemaphoreHandle opened = create(0, 9);
        return releaseSemaphore(opened) ? 1 : 0;
    });
    EXPECT_EQ(0, child.wait());
    EXPECT_EQ(1, countForeign(name));
}

TEST_F(PosixNamedSemaphore, SurvivesTheDeathOfOneOfItsHolders)
{
    SemaphoreHandle semaphore = create(0, 5);
    const ino_t inode = inodeOf(path);
    createAndDie(3);
    EXPECT_EQ(inode, inodeOf(path));
    SemaphoreHandle other = create(1, 1);
    EXPECT_EQ(inode, inodeOf(path));
    EXPECT_EQ(0, countForeign(name));
    close(other);
    EXPECT_TRUE(exists(path));
    close(semaphore);
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, StartsAfreshAfterItsOnlyHolderWasKilled)
{
    createAndDie(3);
    SemaphoreHandle semaphore = create(1, 2);
    EXPECT_EQ(1, countForeign(name));
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_FALSE(releaseSemaphore(semaphore));
    close(semaphore);
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, CannotBeOpenedAfterItsOnlyHolderWasKilled)
{
    createAndDie(3);
    EXPECT_EQ(nullptr, openNamedSemaphore(name.c_str()));
    // Its name stays for the next run to take over.
    EXPECT_TRUE(exists(path));
}

TEST_F(PosixNamedSemaphore, GoesOnServingAProgramThatOpenedItAfterItsHolderWasKilled)
{
    createAndDie(3);
    const ForeignHandle controller(name);
    ASSERT_TRUE(controller);
    const ino_t inode = inodeOf(path);

    SemaphoreHandle semaphore = create(0, 1);
    EXPECT_EQ(inode, inodeOf(path));
    EXPECT_EQ(0, countForeign(name));
    EXPECT_EQ(0, sem_post(controller.get()));
    EXPECT_TRUE(waitForSemaphore(semaphore));
    close(semaphore);
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, IsTakenOverOnceByRunsThatStartTogether)
{
    for (int round = 0; round < 20; ++round) {
        createAndDie(3);
        const ForeignHandle controller(name);
        const Gate allCreated;
        const Gate mayEnd;
        Children children(4);
        for (auto& child : children)
            child = std::make_unique<Child>([&] {
                SemaphoreHandle semaphore = create(0, 1);
                allCreated.open();
                mayEnd.pass();
                close(semaphore);
                return 0;
            });
        for (std::size_t i = 0; i < children.size(); ++i)
            allCreated.pass();
        // One that took it over late would have drained what is posted now.
        ASSERT_EQ(0, sem_post(controller.get()));
        EXPECT_EQ(1, countForeign(name));
        for (std::size_t i = 0; i < children.size(); ++i)
            mayEnd.open();
        for (const auto& child : children)
            EXPECT_EQ(0, child->wait());
        EXPECT_FALSE(exists(path));
    }
}

class AnotherUsersSemaphore : public PosixNamedSemaphore
{
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "only the administrator can become another user";
        lookAlike_ = std::make_unique<LookAlike>(name);
        ASSERT_TRUE(lookAlike_->isThere());
    }

    std::unique_ptr<LookAlike> lookAlike_;
};

TEST_F(AnotherUsersSemaphore, IsUsedAsItIsWhateverItLooksLike)
{
    const ino_t inode = inodeOf(path);
    SemaphoreHandle created = create(0, 1);
    SemaphoreHandle opened = open();
    EXPECT_TRUE(releaseSemaphore(opened));
    EXPECT_TRUE(releaseSemaphore(opened));
    EXPECT_EQ(2, countForeign(name));
    EXPECT_TRUE(waitForSemaphore(created));
    close(opened);
    close(created);
    EXPECT_EQ(inode, inodeOf(path));
    EXPECT_EQ(1, countForeign(name));
}

TEST_F(AnotherUsersSemaphore, IsLeftAloneAfterItsHolderWasKilled)
{
    const ino_t inode = inodeOf(path);
    ASSERT_TRUE(postForeign(name));
    lookAlike_->killMaker();
    SemaphoreHandle created = create(0, 1);
    EXPECT_EQ(1, countForeign(name));
    close(created);
    EXPECT_EQ(inode, inodeOf(path));
}

TEST_F(AnotherUsersSemaphore, DoesNotKeepAReleaseFromTheOneThatReleased)
{
    // The other user takes each count as soon as it comes.
    SemaphoreHandle created = create(0, 1);
    const ForeignHandle foreign(name);
    ASSERT_TRUE(foreign);
    EXPECT_TRUE(releaseSemaphore(created));
    EXPECT_EQ(0, sem_trywait(foreign.get()));
    EXPECT_TRUE(waitForSemaphore(created));
}

// What another user may have written in the place of a semaphore. The words are the
// count, the waiters and the kind of wait as the C library keeps them.
class ForgedSemaphore : public PosixNamedSemaphore,
                        public testing::WithParamInterface<std::array<std::uint32_t, 3>>
{
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "only the administrator can become another user";
        Child forger([this] {
            std::array<char, sizeof(sem_t)> image{};
            std::memcpy(image.data(), GetParam().data(), sizeof(GetParam()));
            if (setuid(65534) != 0)
                return 1;
            const int file = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0666);
            const bool written = write(file, image.data(), image.size()) ==
                                 static_cast<ssize_t>(image.size());
            return written && fchmod(file, 0666) == 0 ? 0 : 2;
        });
        ASSERT_EQ(0, forger.wait());
    }
};

TEST_P(ForgedSemaphore, HoldsNobodyUp)
{
    Child child([this] {
        SemaphoreHandle semaphore = createNamedSemaphore(name.c_str(), 0, 1);
        if (!semaphore)
            return 1;
        releaseSemaphore(semaphore);
        const bool waited = waitForSemaphore(semaphore);
        closeSemaphore(semaphore);
        return waited ? 0 : 2;
    });
    // The C library ends a process that wakes somebody by a word that makes no sense.
    const int exitCode = child.wait();
    EXPECT_TRUE(exitCode == 0 || (exitCode == -1 && GetParam()[2] != 0)) << exitCode;
    EXPECT_TRUE(exists(path));
}

INSTANTIATE_TEST_SUITE_P(
    Images, ForgedSemaphore,
    testing::Values(std::array<std::uint32_t, 3>{0, 0xFFFFFFFF, 137}, // no wake ever
                    std::array<std::uint32_t, 3>{0, 0xFFFFFFFF, 128}, // wakes nobody
                    std::array<std::uint32_t, 3>{0, 0, 137},          // waits without end
                    std::array<std::uint32_t, 3>{0x7FFFFFFF, 0, 0},   // cannot be raised
                    std::array<std::uint32_t, 3>{0, 1, 0}));

TEST_F(PosixNamedSemaphore, KeepsItsReleaseLockForTheReleaseAlone)
{
    SemaphoreHandle semaphore = create(0, 2);
    EXPECT_TRUE(releaseSemaphore(semaphore));
    Child other([&] { return lockAlone(path, releaseByte) ? 0 : 1; });
    EXPECT_EQ(0, other.wait());
}

TEST_F(PosixNamedSemaphore, IsReleasedThoughTheHolderOfItsReleaseLockIsStopped)
{
    SemaphoreHandle semaphore = create(0, 2);
    const StoppedHolder holder(path, releaseByte);
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_FALSE(releaseSemaphore(semaphore));
    EXPECT_EQ(2, countForeign(name));
    close(semaphore);
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, IsReleasedAtOnceAgainWhereAStoppedHolderWasWaitedFor)
{
    // Opened anew each time, as by one worker after another: only the first one waits.
    // With a wait for each this takes longer than a test may.
    create(0, 1000);
    const StoppedHolder holder(path, releaseByte);
    Child child([this] {
        for (int i = 0; i < 1000; ++i) {
            SemaphoreHandle opened = open();
            if (!opened || !releaseSemaphore(opened))
                return 1;
            close(opened);
        }
        return 0;
    });
    EXPECT_EQ(0, child.wait());
}

TEST_F(PosixNamedSemaphore, IsUsedAsItIsWhileOneThatWouldTakeItOverIsStopped)
{
    createAndDie(0);
    const ino_t inode = inodeOf(path);
    const StoppedHolder holder(path, livenessByte);
    SemaphoreHandle semaphore = create(0, 1);
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_TRUE(waitForSemaphore(semaphore));
    close(semaphore);
    EXPECT_EQ(inode, inodeOf(path));
}

TEST_F(PosixNamedSemaphore, IsOpenedAsItIsWhileOneThatWouldRemoveItIsStopped)
{
    createAndDie(0);
    const StoppedHolder holder(path, livenessByte);
    SemaphoreHandle semaphore = open();
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_EQ(1, countForeign(name));
    close(semaphore);
    EXPECT_TRUE(exists(path));
}

TEST_F(PosixNamedSemaphore, IsNotRemovedByOneThatUsedItAsItIsWhileAnotherWasStopped)
{
    createAndDie(0);
    SemaphoreHandle semaphore = nullptr;
    {
        const StoppedHolder holder(path, livenessByte);
        semaphore = create(0, 1);
    }
    close(semaphore);
    EXPECT_TRUE(exists(path));
}

TEST_F(PosixNamedSemaphore, IsClearedAwayLaterWhenItsHolderIsStoppedMeanwhile)
{
    createAndDie(0);
    {
        // Old only when it is held: other tests clear old ones away, too.
        const StoppedHolder holder(path, livenessByte);
        ASSERT_TRUE(makeOld(path));
        useAnotherName();
        EXPECT_TRUE(exists(path));
    }
    useAnotherName();
    EXPECT_FALSE(exists(path));
}

// The folder with second links of a user who runs nothing else: what stands in its place.
class FolderOfLinks : public PosixNamedSemaphore
{
protected:
    // Of this process alone: tests run side by side.
    const uid_t user = 1'000'000 + static_cast<uid_t>(getpid());

    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "only the administrator can become another user";
    }

    ~FolderOfLinks() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    // Creates a semaphore as that user, looks whether it is as it should be and closes
    // it.
    void expectUsable(bool inFolder)
    {
        Child child([&] {
            if (setuid(user) != 0)
                return 1;
            SemaphoreHandle semaphore = create(0, 1);
            if (inFolder != hasEntry())
                return 2;
            close(semaphore);
            return exists(path) ? 3 : 0;
        });
        EXPECT_EQ(0, child.wait());
    }

    bool hasEntry() const
    {
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(folder, none))
            if (entry.path().string().ends_with(narrow(name)))
                return true;
        return false;
    }

    const std::string folder = "/dev/shm/norv-" + std::to_string(user);
};

TEST_F(FolderOfLinks, HoldsALinkAndVanishesWithTheLast)
{
    expectUsable(true);
    EXPECT_FALSE(exists(folder));
}

TEST_F(FolderOfLinks, IsTheUsersAloneWhateverTheMask)
{
    const mode_t former = umask(0077);
    expectUsable(true);
    umask(former);
    EXPECT_FALSE(exists(folder));
}

TEST_F(FolderOfLinks, IsDoneWithoutWhenTheMaskTakesItsRights)
{
    const mode_t former = umask(0777);
    expectUsable(false);
    umask(former);
    EXPECT_FALSE(exists(folder));
}

TEST_F(FolderOfLinks, IsNotUsedWhenItBelongsToAnotherUser)
{
    ASSERT_EQ(0, mkdir(folder.c_str(), 0777));
    ASSERT_EQ(0, chmod(folder.c_str(), 0777));
    expectUsable(false);
    EXPECT_TRUE(exists(folder));
}

TEST_F(FolderOfLinks, IsNotUsedWhenOthersMayChangeIt)
{
    ASSERT_EQ(0, mkdir(folder.c_str(), 0777));
    ASSERT_EQ(0, chmod(folder.c_str(), 0777));
    ASSERT_EQ(0, chown(folder.c_str(), user, user));
    expectUsable(false);
    EXPECT_TRUE(exists(folder));
}

TEST_F(FolderOfLinks, IsNotUsedWhenItIsALink)
{
    const TemporaryFolder elsewhere;
    ASSERT_EQ(0, chown((elsewhere / "").c_str(), user, user));
    ASSERT_EQ(0, symlink((elsewhere / "").c_str(), folder.c_str()));
    expectUsable(false);
    EXPECT_TRUE(exists(folder));
}

TEST_F(FolderOfLinks, IsNotUsedWhenItIsAFile)
{
    const int file = ::open(folder.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0600);
    ASSERT_EQ(0, fchown(file, user, user));
    ASSERT_EQ(0, ::close(file));
    expectUsable(false);
    EXPECT_TRUE(exists(folder));
}

TEST_F(PosixNamedSemaphore, StartsAfreshAfterAWaitingHolderWasKilled)
{
    const Gate waiting;
    Child child([&] {
        SemaphoreHandle semaphore = create(0, 1);
        waiting.open();
        waitForSemaphore(semaphore);
        return 0;
    });
    waiting.pass();
    child.killAndWait();
    create(1, 1);
    EXPECT_EQ(1, countForeign(name));
}

TEST_F(PosixNamedSemaphore, ClearsOtherNamesOfKilledHoldersAway)
{
    createAndDie(0);
    ASSERT_TRUE(makeOld(path));
    useAnotherName();
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, LeavesOtherNamesOfJustKilledHoldersForTheirNextRun)
{
    createAndDie(2);
    const ino_t inode = inodeOf(path);
    useAnotherName();
    EXPECT_EQ(inode, inodeOf(path));
    EXPECT_EQ(2, countForeign(name));
}

TEST_F(PosixNamedSemaphore, IsNotTakenForAnOldOneWhileSomebodyWaits)
{
    // Whoever is killed now was there a moment ago, however old the semaphore is.
    const Gate created;
    Child child([&] {
        SemaphoreHandle semaphore = create(0, 1);
        if (!makeOld(path))
            return 1;
        created.open();
        waitForSemaphore(semaphore);
        return 0;
    });
    created.pass();
    while (!isAsleep(child.id()))
        sched_yield();
    child.killAndWait();
    useAnotherName();
    EXPECT_TRUE(exists(path));
}

TEST_F(PosixNamedSemaphore, ClearsAwayWhatWasLeftOfItsOwnNameWithoutTheName)
{
    createAndDie(0);
    const std::string entry = "/dev/shm/norv-" + std::to_string(geteuid()) + "/" +
                              std::to_string(inodeOf(path)) + ".sem." + narrow(name);
    EXPECT_TRUE(exists(entry));
    ASSERT_TRUE(makeOld(path));
    removeForeign(name);
    create(0, 1);
    EXPECT_FALSE(exists(entry));
}

TEST_F(PosixNamedSemaphore, ClearsNoNameAwayThatIsHeldOrForeign)
{
    const std::wstring foreignName = uniqueSemaphoreName(L"foreign");
    ASSERT_TRUE(createForeign(foreignName, 1));
    create(1, 1);
    const ino_t inode = inodeOf(path);
    Child child([] {
        useAnotherName();
        return 0;
    });
    EXPECT_EQ(0, child.wait());
    EXPECT_EQ(inode, inodeOf(path));
    EXPECT_EQ(1, countForeign(foreignName));
    removeForeign(foreignName);
}

TEST_F(PosixNamedSemaphore, LeavesAForeignOneThatTookItsNameMeanwhile)
{
    SemaphoreHandle semaphore = create(0, 1);
    removeForeign(name);
    ASSERT_TRUE(createForeign(name, 4));
    close(semaphore);
    EXPECT_EQ(4, countForeign(name));
}

TEST_F(PosixNamedSemaphore, LeavesAnotherOneThatTookItsNameMeanwhile)
{
    SemaphoreHandle first = create(0, 1);
    removeForeign(name);
    SemaphoreHandle second = create(1, 1);
    close(first);
    EXPECT_EQ(1, countForeign(name));
    close(second);
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, IsStillUsableWhenAForeignHandTookItsNameAway)
{
    SemaphoreHandle semaphore = create(0, 1);
    removeForeign(name);
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_TRUE(waitForSemaphore(semaphore));
    close(semaphore);
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, IsOpenedByItsHolderWhenAForeignHandTookItsNameAway)
{
    SemaphoreHandle semaphore = create(0, 1);
    removeForeign(name);
    SemaphoreHandle opened = open();
    EXPECT_TRUE(releaseSemaphore(opened));
    close(opened);
    EXPECT_TRUE(waitForSemaphore(semaphore));
    close(semaphore);
    EXPECT_EQ(nullptr, openNamedSemaphore(name.c_str()));
}

TEST_F(PosixNamedSemaphore, IsOpenedByItsHolderWhenAnotherOneTookItsNameMeanwhile)
{
    ASSERT_TRUE(createForeign(name, 0));
    SemaphoreHandle semaphore = open();
    removeForeign(name);
    ASSERT_TRUE(createForeign(name, 0));
    SemaphoreHandle opened = open();
    EXPECT_TRUE(releaseSemaphore(opened));
    EXPECT_EQ(0, countForeign(name));
    close(opened);
    EXPECT_TRUE(waitForSemaphore(semaphore));
}

TEST_F(PosixNamedSemaphore, IsOpenedByItsHolderWithoutADescriptor)
{
    SemaphoreHandle semaphore = create(0, 1);
    rlimit former = {};
    getrlimit(RLIMIT_NOFILE, &former);
    const rlimit none = {0, former.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    SemaphoreHandle opened = open();
    setrlimit(RLIMIT_NOFILE, &former);
    ASSERT_NE(nullptr, opened);
    close(semaphore);
    EXPECT_TRUE(exists(path));
    close(opened);
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, CanBeWaitedOnByAForeignProgram)
{
    SemaphoreHandle semaphore = create(0, 1);
    const Gate opened;
    const std::string systemName = std::string("/").append(narrow(name));
    Child child([&] {
        sem_t* foreign = sem_open(systemName.c_str(), 0);
        if (foreign == SEM_FAILED)
            return 1;
        opened.open();
        return sem_wait(foreign) == 0 ? 0 : 2;
    });
    opened.pass();
    EXPECT_TRUE(releaseSemaphore(semaphore));
    EXPECT_EQ(0, child.wait());
    EXPECT_EQ(0, countForeign(name));
}

TEST_F(PosixNamedSemaphore, GoesOnWaitingAfterASignal)
{
    const Gate waiting;
    const pid_t parent = getpid();
    SemaphoreHandle semaphore = create(0, 1);
    struct sigaction former = {};
    struct sigaction interrupting = {};
    static volatile sig_atomic_t signals = 0;
    signals = 0;
    interrupting.sa_handler = [](int) {
        signals = signals + 1;
    };
    sigaction(SIGUSR1, &interrupting, &former);
    // Signals first, and among them some that meet the wait; then the release.
    Child child([&] {
        waiting.pass();
        for (int i = 0; i < 50; ++i) {
            kill(parent, SIGUSR1);
            usleep(200);
        }
        postForeign(name);
        return 0;
    });
    waiting.open();
    EXPECT_TRUE(waitForSemaphore(semaphore));
    EXPECT_LT(0, signals);
    EXPECT_EQ(0, child.wait());
    sigaction(SIGUSR1, &former, nullptr);
    EXPECT_EQ(0, countForeign(name));
}

// This process, and what it starts, runs on one processor as long as this lives.
class OneProcessor
{
public:
    OneProcessor()
    {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<unsigned int>(sched_getcpu()), &one);
        sched_getaffinity(0, sizeof former_, &former_);
        sched_setaffinity(0, sizeof one, &one);
    }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;
    ~OneProcessor()
    {
        sched_setaffinity(0, sizeof former_, &former_);
    }

private:
    cpu_set_t former_ = {};
};

std::unique_ptr<Child> PosixNamedSemaphore::startWaiting(bool onlyWhenIdle)
{
    const Gate opened;
    auto child = std::make_unique<Child>([&] {
        const sched_param none = {};
        if (onlyWhenIdle)
            sched_setscheduler(0, SCHED_IDLE, &none);
        SemaphoreHandle semaphore = open();
        opened.open();
        return semaphore && waitForSemaphore(semaphore) ? 0 : 1;
    });
    opened.pass();
    while (!isAsleep(child->id()))
        sched_yield();
    return child;
}

TEST_F(PosixNamedSemaphore, WakesAnotherWhenTheOneItWokeIsKilledBeforeItTakesTheCount)
{
    // The victim, woken, does not run before this process pauses: it is killed first.
    const OneProcessor processor;
    SemaphoreHandle semaphore = create(0, 1);
    bool wakeUpWasLost = false;
    for (int attempt = 0; !wakeUpWasLost && attempt < 100; ++attempt) {
        const auto victim = startWaiting(true);
        const auto other = startWaiting(false);
        EXPECT_TRUE(releaseSemaphore(semaphore));
        victim->killAndWait();
        if (countForeign(name) == 0)
            continue;
        wakeUpWasLost = true;
        EXPECT_EQ(0, other->wait());
        EXPECT_EQ(0, countForeign(name));
    }
    EXPECT_TRUE(wakeUpWasLost);
}

// One process of many that share a name: creates, opens, releases and closes at
// random, and looks each time whether the file it holds is the one named. 0, or
// a number that tells what it found wrong.
int shareAtRandom(const std::wstring& name, unsigned int seed)
{
    constexpr int rounds = 4000;
    const std::string path = semaphoreFilePath(name);
    std::minstd_rand random(seed);
    std::vector<SemaphoreHandle> held;
    for (int round = 0; round < rounds; ++round) {
        SemaphoreHandle next = nullptr;
        switch (random() % 5) {
        case 0:
        case 1:
            next = createNamedSemaphore(name.c_str(), 0, 2);
            if (!next)
                return 1;
            break;
        case 2:
            next = openNamedSemaphore(name.c_str());
            if (!next && !held.empty())
                return 2;
            break;
        case 3:
            if (!held.empty())
                releaseSemaphore(held.back());
            break;
        default:
            break;
        }
        if (next)
            held.push_back(next);
        const std::set<SemaphoreHandle> apart(held.begin(), held.end());
        if (static_cast<int>(apart.size()) != descriptorsOf(path) && !held.empty())
            return 3;
        if (held.size() > 3 || random() % 3 == 0)
            while (!held.empty()) {
                closeSemaphore(held.back());
                held.pop_back();
                if (!held.empty() && !exists(path))
                    return 4;
            }
    }
    for (SemaphoreHandle handle : held)
        closeSemaphore(handle);
    return 0;
}

Children PosixNamedSemaphore::startSharing(unsigned int count) const
{
    Children children(count);
    for (unsigned int i = 0; i < count; ++i)
        children[i] =
            std::make_unique<Child>([this, i] { return shareAtRandom(name, 1 + i); });
    return children;
}

TEST_F(PosixNamedSemaphore, IsOneAndTheSameForManyProcessesAtRandom)
{
    const auto children = startSharing(6);
    for (const auto& child : children)
        EXPECT_EQ(0, child->wait());
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, IsOneAndTheSameAlsoWhenHoldersAreKilled)
{
    const auto children = startSharing(3);
    for (unsigned int i = 0; i < 100; ++i) {
        Child killed([this, i] { return shareAtRandom(name, 100 + i); });
        // Anywhere in its work: the wait chooses the place, nothing hangs on it.
        usleep(i * 997 % 3000);
        killed.killAndWait();
    }
    for (const auto& child : children)
        EXPECT_EQ(0, child->wait());
    SemaphoreHandle semaphore = create(0, 1);
    EXPECT_EQ(0, countForeign(name));
    close(semaphore);
    EXPECT_FALSE(exists(path));
}

TEST_F(PosixNamedSemaphore, IsNotRaisedAboveItsMaximumByProcessesTogether)
{
    // Processes that inherit a handle share its locks, which then keep none of them out.
    const Gate created;
    Children children(4);
    for (auto& child : children)
        child = std::make_unique<Child>([&] {
            created.pass();
            SemaphoreHandle opened = open();
            int succeeded = 0;
            for (int release = 0; release < 200; ++release)
                if (releaseSemaphore(opened))
                    ++succeeded;
            return succeeded;
        });
    create(0, 100);
    for (std::size_t i = 0; i < children.size(); ++i)
        created.open();
    int succeeded = 0;
    for (const auto& child : children)
        succeeded += child->wait();
    EXPECT_EQ(100, succeeded);
    EXPECT_EQ(100, countForeign(name));
}

} // namespace

// Saves that are stopped from outside: a process killed at any moment of a
// save, or a disk that fills up, leaves the target holding the whole previous
// drawing or the whole new one, and the backup holding the previous one.

#include "dxf_test_util.h"

#ifndef _WIN32
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#endif

using namespace kx;
using namespace kx::dxftest;

#ifndef _WIN32
namespace {

void fillDrawing(VxDbDatabase& db, int lines, double offset)
{
    for (int i = 0; i < lines; ++i)
        append(db, db.modelSpaceId(), new VxDbLine({offset + i, 0, 0}, {offset + i, 1.0 / 3.0, 0}));
}

// Runs body in a child process and answers how it ended: its exit code, or
// minus the signal that stopped it.
template <class Body>
int inChild(Body body, std::chrono::microseconds killAfter = std::chrono::microseconds(-1))
{
    const pid_t pid = fork();
    if (pid == 0) {
        body();
        _exit(0);
    }
    if (pid < 0)
        return -1000;
    if (killAfter.count() >= 0) {
        std::this_thread::sleep_for(killAfter);
        kill(pid, SIGKILL);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

void removeTemporaries(const std::filesystem::path& folder)
{
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".tmp")
            std::filesystem::remove(entry.path());
}

bool opens(const std::filesystem::path& path, size_t entities)
{
    VxDbDatabase read(false, true);
    VxDbDxfReadInfo info;
    return vxdbReadDxf(&read, readText(path), &info) == Velt::eOk && info.entities == entities;
}

}  // namespace
#endif

TEST(DxfKill, AKilledSaveNeverLosesTheDrawing)
{
#ifdef _WIN32
    GTEST_SKIP() << "the kill test forks";
#else
    TempFolder folder;
    const std::filesystem::path plan = folder / "plan.dxf";
    const std::filesystem::path backup = folder / "plan.bak";

    // The old drawing on disk, and the new one as a complete save writes it.
    const int oldLines = 200, newLines = 4000;
    std::string oldText, newText;
    {
        VxDbDatabase old;
        fillDrawing(old, oldLines, 0);
        ASSERT_EQ(vxdbSaveAs(&old, wide(folder / "old.dxf").c_str(), false), Velt::eOk);
        oldText = readText(folder / "old.dxf");
        std::filesystem::remove(folder / "old.dxf");
    }
    VxDbDatabase db;
    fillDrawing(db, newLines, 0.5);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(vxdbSaveAs(&db, wide(folder / "new.dxf").c_str(), false), Velt::eOk);
    const auto saveTime =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    newText = readText(folder / "new.dxf");
    std::filesystem::remove(folder / "new.dxf");
    ASSERT_NE(oldText, newText);

    // How long a whole save takes in a child, forking and copying included:
    // the kills fall anywhere from its start to a little after its end.
    writeText(plan, oldText);
    const auto childStart = std::chrono::steady_clock::now();
    ASSERT_EQ(inChild([&] { _exit(vxdbSaveAs(&db, wide(plan).c_str(), true) == Velt::eOk ? 0 : 1); }), 0);
    const auto childTime =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - childStart);
    std::mt19937 random(17);
    std::uniform_int_distribution<long> when(0, long(childTime.count() * 11 / 10));
    int kills = 0, finished = 0, lost = 0, sawOld = 0, sawNew = 0;
    for (int round = 0; round < 400 && kills < 60; ++round) {
        writeText(plan, oldText);
        writeText(backup, "stale");
        const int end = inChild([&] { _exit(vxdbSaveAs(&db, wide(plan).c_str(), true) == Velt::eOk ? 0 : 1); },
                                std::chrono::microseconds(when(random)));
        if (end == -SIGKILL)
            ++kills;
        else if (end == 0)
            ++finished;
        else
            ADD_FAILURE() << "the save ended with " << end;
        const std::string now = readText(plan);
        const std::string bak = readText(backup);
        if (now == oldText) {
            ++sawOld;
            EXPECT_TRUE(bak == "stale" || bak == oldText);
            EXPECT_NE(end, 0) << "a save that succeeded left the old drawing";
        } else if (now == newText) {
            ++sawNew;
            EXPECT_EQ(bak, oldText) << "the backup is not the previous drawing";
        } else {
            ++lost;
        }
        removeTemporaries(folder.path());
    }
    EXPECT_GE(kills, 50);
    EXPECT_EQ(lost, 0);
    // Both outcomes are whole drawings that open.
    writeText(plan, oldText);
    EXPECT_TRUE(opens(plan, oldLines));
    writeText(plan, newText);
    EXPECT_TRUE(opens(plan, newLines));
    std::printf("[ figures  ] saves killed: %d, finished: %d, left old: %d, left new: %d, drawings lost: %d "
                "(a save takes %lld us)\n",
                kills, finished, sawOld, sawNew, lost, (long long)saveTime.count());
#endif
}

// A disk that fills up during the save, and a folder that cannot be written:
// the save fails with a status, and the old drawing and its backup stay.
TEST(DxfKill, AFullDiskOrAClosedFolderFailsTheSaveOnly)
{
#ifdef _WIN32
    GTEST_SKIP() << "uses a child process's file-size limit";
#else
    TempFolder folder;
    const std::filesystem::path plan = folder / "plan.dxf";
    writeText(plan, "the previous drawing");
    writeText(folder / "plan.bak", "the backup");
    VxDbDatabase db;
    fillDrawing(db, 5000, 0);

    // A file-size limit in the child stands for a full disk: writes past it fail.
    const int end = inChild([&] {
        signal(SIGXFSZ, SIG_IGN);
        rlimit limit{64 * 1024, 64 * 1024};
        setrlimit(RLIMIT_FSIZE, &limit);
        const Velt::ErrorStatus es = vxdbSaveAs(&db, wide(plan).c_str(), true);
        _exit(es == Velt::eFileAccessErr ? 0 : 10 + int(es == Velt::eOk));
    });
    EXPECT_EQ(end, 0);
    EXPECT_EQ(readText(plan), "the previous drawing");
    EXPECT_EQ(readText(folder / "plan.bak"), "the backup");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2);

    // A folder without write permission (the superuser writes anyway).
    if (geteuid() != 0) {
        std::filesystem::permissions(folder.path(), std::filesystem::perms::owner_write,
                                     std::filesystem::perm_options::remove);
        EXPECT_EQ(vxdbSaveAs(&db, wide(plan).c_str(), true), Velt::eFileAccessErr);
        std::filesystem::permissions(folder.path(), std::filesystem::perms::owner_write,
                                     std::filesystem::perm_options::add);
        EXPECT_EQ(readText(plan), "the previous drawing");
    }
    // A name that cannot be made.
    EXPECT_NE(vxdbSaveAs(&db, wide(folder / std::string(300, 'x')).c_str(), true), Velt::eOk);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2);
#endif
}

// Files made to exhaust the reader: dictionaries and blocks nested thousands
// deep, objects that reference themselves, a million extended-data items.
// Each reads within the time and memory the README states, or fails with a
// status; nothing recurses without end.

#include <chrono>
#include <cstring>

#include "dxf_test_util.h"

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace kx;
using namespace kx::dxftest;

namespace {

struct Text {
    std::string out;
    Text& g(int code, std::string_view value)
    {
        out += std::to_string(code);
        out += '\n';
        out += value;
        out += '\n';
        return *this;
    }
    Text& g(int code, long long value) { return g(code, std::to_string(value)); }
};

std::string hex(unsigned long long value)
{
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%llX", value);
    return buffer;
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The growth of the resident memory while body runs, in MiB, measured in a
// child process so that nothing else the tests did counts; -1 where it
// cannot be measured.
template <class Body>
double peakGrowthMiB(Body body)
{
#ifdef _WIN32
    body();
    return -1;
#else
    int channel[2];
    if (pipe(channel) != 0)
        return -1;
    const pid_t pid = fork();
    if (pid == 0) {
        auto field = [](const char* name) {
            std::ifstream status("/proc/self/status");
            std::string line;
            while (std::getline(status, line))
                if (line.rfind(name, 0) == 0)
                    return std::atof(line.c_str() + std::strlen(name)) / 1024.0;
            return 0.0;
        };
        std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts again here
        const double before = field("VmRSS:");
        body();
        const double growth = field("VmHWM:") - before;
        (void)!write(channel[1], &growth, sizeof(growth));
        _exit(0);
    }
    close(channel[1]);
    double growth = -1;
    if (read(channel[0], &growth, sizeof(growth)) != sizeof(growth))
        growth = -1;
    close(channel[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    return growth;
#endif
}

std::unique_ptr<VxDbDatabase> readBack(const std::string& data, VxDbDxfReadInfo* info = nullptr)
{
    auto db = std::make_unique<VxDbDatabase>(false, true);
    if (vxdbReadDxf(db.get(), data, info) != Velt::eOk)
        return nullptr;
    return db;
}

// The sections a file of R2000 and later needs around its objects.
std::string withObjects(const std::string& objects)
{
    Text t;
    t.g(0, "SECTION").g(2, "HEADER").g(9, "$ACADVER").g(1, "AC1015").g(0, "ENDSEC");
    t.out += objects;
    t.g(0, "EOF");
    return t.out;
}

}  // namespace

// A chain of dictionaries 4,000 deep under the named-objects dictionary,
// a dictionary that holds itself and a record that owns itself: read,
// written and read again, without recursion.
TEST(DxfBounds, DictionariesNestedDeepOrHoldingThemselves)
{
    const int depth = 4000;
    Text t;
    t.g(0, "SECTION").g(2, "OBJECTS");
    t.g(0, "DICTIONARY").g(5, "C").g(330, "0").g(100, "AcDbDictionary").g(3, "DEEP").g(350, hex(0x1000));
    t.g(3, "SELF").g(350, "F00").g(3, "LOOP").g(350, "F01");
    for (int i = 0; i < depth; ++i) {
        t.g(0, "DICTIONARY").g(5, hex(0x1000 + i)).g(330, i == 0 ? "C" : hex(0x1000 + i - 1)).g(100, "AcDbDictionary");
        if (i + 1 < depth)
            t.g(3, "N").g(350, hex(0x1000 + i + 1));
    }
    t.g(0, "DICTIONARY").g(5, "F00").g(330, "F00").g(100, "AcDbDictionary").g(3, "ME").g(350, "F00");
    t.g(0, "XRECORD").g(5, "F01").g(330, "F01").g(100, "AcDbXrecord").g(1, "mine");
    t.g(0, "ENDSEC");
    const std::string file = withObjects(t.out);

    const auto start = std::chrono::steady_clock::now();
    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = readBack(file, &info);
    ASSERT_TRUE(db) << info.message;
    const std::string again = toDxf(*db);
    std::unique_ptr<VxDbDatabase> reread = readBack(again);
    ASSERT_TRUE(reread);
    // The deepest dictionary is still there, under its chain.
    VxDbObjectId id;
    EXPECT_EQ(reread->getVxDbObjectId(id, false, VxDbHandle(0x1000 + depth - 1)), Velt::eOk);
    const double seconds = secondsSince(start);
    EXPECT_LT(seconds, 60.0);
    std::printf("[ figures  ] %d nested dictionaries read, written and read again in %.2f s\n", depth, seconds);
}

// Blocks that insert each other 5,000 deep, a block that inserts itself and
// two that insert each other: the file reads and writes, and the extents of
// each reference end (the nesting followed at most 64 deep, a block met
// again on the way not followed).
TEST(DxfBounds, BlocksNestedDeepOrInsertingThemselves)
{
    const int depth = 5000;
    Text t;
    t.g(0, "SECTION").g(2, "BLOCKS");
    auto block = [&t](const std::string& name, const std::string& inserts) {
        t.g(0, "BLOCK").g(8, "0").g(2, name).g(70, 0).g(10, "0").g(20, "0").g(30, "0");
        if (!inserts.empty())
            t.g(0, "INSERT").g(8, "0").g(2, inserts).g(10, "1").g(20, "0").g(30, "0");
        t.g(0, "LINE").g(8, "0").g(10, "0").g(20, "0").g(30, "0").g(11, "1").g(21, "1").g(31, "0");
        t.g(0, "ENDBLK").g(8, "0");
    };
    for (int i = 0; i < depth; ++i)
        block("B" + std::to_string(i), i + 1 < depth ? "B" + std::to_string(i + 1) : "");
    block("SELF", "SELF");
    block("PING", "PONG");
    block("PONG", "PING");
    t.g(0, "ENDSEC").g(0, "SECTION").g(2, "ENTITIES");
    for (const char* name : {"B0", "SELF", "PING"})
        t.g(0, "INSERT").g(8, "0").g(2, name).g(10, "0").g(20, "0").g(30, "0");
    t.g(0, "ENDSEC").g(0, "EOF");

    const auto start = std::chrono::steady_clock::now();
    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = readBack(t.out, &info);
    ASSERT_TRUE(db) << info.message;
    auto* ms = VxDbBlockTableRecord::cast(detail::objectOf(db->modelSpaceId()));
    ASSERT_TRUE(ms);
    ASSERT_EQ(ms->entityIds().size(), 3u);
    for (const VxDbObjectId& id : ms->entityIds()) {
        VxDbObjectPointer<VxDbBlockReference> reference(id);
        ASSERT_EQ(reference.openStatus(), Velt::eOk);
        VxGeExtents3d extents;
        EXPECT_EQ(reference->getGeomExtents(extents), Velt::eOk);
        // Each level moves one unit along x: the depth followed shows in the box.
        EXPECT_LE(extents.maxPoint().x, 66.0);
        EXPECT_GE(extents.maxPoint().x, 1.0);
    }
    ASSERT_TRUE(readBack(toDxf(*db)));
    const double seconds = secondsSince(start);
    EXPECT_LT(seconds, 60.0);
    std::printf("[ figures  ] %d nested blocks and self-inserting ones read, measured and written in %.2f s\n", depth,
                seconds);
}

// A line that carries a million extended-data items: read within the time
// and memory bounds; the items are far beyond what an object may carry, so
// the line is kept without them and the read says so.
TEST(DxfBounds, AMillionExtendedDataItems)
{
    const int items = 1000000;
    Text t;
    t.g(0, "SECTION").g(2, "TABLES").g(0, "TABLE").g(2, "APPID").g(70, 1);
    t.g(0, "APPID").g(2, "BULK").g(70, 0).g(0, "ENDTAB").g(0, "ENDSEC");
    t.g(0, "SECTION").g(2, "ENTITIES");
    t.g(0, "LINE").g(8, "0").g(10, "0").g(20, "0").g(30, "0").g(11, "1").g(21, "1").g(31, "0");
    t.g(1001, "BULK");
    for (int i = 0; i < items; ++i)
        t.g(1071, i);
    t.g(0, "ENDSEC").g(0, "EOF");
    const double fileMiB = double(t.out.size()) / (1024.0 * 1024.0);

    // The memory is measured on a read of its own in a child process.
    const double growth = peakGrowthMiB([&] { readBack(t.out); });
    size_t found = 1;
    VxDbDxfReadInfo info;
    const auto start = std::chrono::steady_clock::now();
    std::unique_ptr<VxDbDatabase> db = readBack(t.out, &info);
    const double seconds = secondsSince(start);
    ASSERT_TRUE(db);
    auto* ms = VxDbBlockTableRecord::cast(detail::objectOf(db->modelSpaceId()));
    ASSERT_TRUE(ms && ms->entityIds().size() == 1);
    {
        VxDbObjectPointer<VxDbEntity> line(ms->entityIds()[0]);
        ASSERT_EQ(line.openStatus(), Velt::eOk);
        VxResBuf* chain = line->xData(L"BULK");
        found = vxutChainLength(chain);
        vxutRelRb(chain);
    }
    EXPECT_EQ(found, 0u);
    EXPECT_FALSE(info.warnings.empty());
    EXPECT_TRUE(readBack(toDxf(*db)));
    EXPECT_LT(seconds, 60.0);
    if (growth >= 0)
        EXPECT_LT(growth, 64.0 + 40.0 * fileMiB);
    std::printf("[ figures  ] %d extended-data items (%.1f MiB of file) read in %.2f s, memory grew %.1f MiB\n",
                items, fileMiB, seconds, growth);
}

// Creating, opening and closing lines in the host's database, against a
// plain std::vector of the same line data, and the memory each line costs.
//
//   host_bench [count]      (default 1,000,000)

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

#ifdef _WIN32
#include <malloc.h>
#define KX_BLOCK_SIZE(p) _msize(p)
#else
#include <malloc.h>
#define KX_BLOCK_SIZE(p) malloc_usable_size(p)
#endif

#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"

// Every allocation of the program is counted, so that the memory of a line
// includes its share of every container the database keeps for it.
namespace {
std::atomic<long long> gLiveBytes{0};
}

void* operator new(size_t size)
{
    void* p = std::malloc(size ? size : 1);
    if (!p)
        throw std::bad_alloc();
    gLiveBytes += static_cast<long long>(KX_BLOCK_SIZE(p));
    return p;
}

void operator delete(void* p) noexcept
{
    if (!p)
        return;
    gLiveBytes -= static_cast<long long>(KX_BLOCK_SIZE(p));
    std::free(p);
}

void operator delete(void* p, size_t) noexcept { operator delete(p); }
void* operator new[](size_t size) { return operator new(size); }
void operator delete[](void* p) noexcept { operator delete(p); }
void operator delete[](void* p, size_t) noexcept { operator delete(p); }

using namespace kx;

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct LineData {
    VxGePoint3d start;
    VxGePoint3d end;
    VxGeVector3d normal{0.0, 0.0, 1.0};
    double thickness = 0.0;
};

VxGePoint3d startOf(size_t i) { return VxGePoint3d{double(i), double(i % 1000), 0.0}; }
VxGePoint3d endOf(size_t i) { return VxGePoint3d{double(i) + 1.0, double(i % 1000) + 1.0, 0.0}; }

struct Result {
    double create = 0.0;
    double openClose = 0.0;
    double bytesPerLine = 0.0;
    double checksum = 0.0;
};

Result runVector(size_t count)
{
    Result result;
    const long long before = gLiveBytes;
    auto start = Clock::now();
    std::vector<LineData> lines;
    for (size_t i = 0; i < count; ++i)
        lines.push_back(LineData{startOf(i), endOf(i)});
    result.create = secondsSince(start);
    result.bytesPerLine = double(gLiveBytes - before) / double(count);

    start = Clock::now();
    double sum = 0.0;
    for (const LineData& line : lines)
        sum += line.start.x + line.end.y;
    result.openClose = secondsSince(start);
    result.checksum = sum;
    return result;
}

Result runHost(size_t count)
{
    Result result;
    VxDbDatabase db;
    const long long before = gLiveBytes;
    auto start = Clock::now();
    {
        VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
        for (size_t i = 0; i < count; ++i) {
            auto* line = new VxDbLine(startOf(i), endOf(i));
            if (space->appendVxDbEntity(line) != Velt::eOk) {
                std::fprintf(stderr, "append failed\n");
                std::exit(1);
            }
            line->close();
        }
    }
    result.create = secondsSince(start);
    result.bytesPerLine = double(gLiveBytes - before) / double(count);

    VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForRead);
    const std::vector<VxDbObjectId>& ids = space->entityIds();
    start = Clock::now();
    double sum = 0.0;
    for (VxDbObjectId id : ids) {
        VxDbLine* line = nullptr;
        if (vxdbOpenObject(line, id, VxDb::kForRead) != Velt::eOk)
            continue;
        sum += line->startPoint().x + line->endPoint().y;
        line->close();
    }
    result.openClose = secondsSince(start);
    result.checksum = sum;
    return result;
}

}  // namespace

int main(int argc, char** argv)
{
    size_t count = 1000000;
    if (argc > 1) {
        const long long asked = std::atoll(argv[1]);
        if (asked <= 0 || asked > 100000000) {
            std::fprintf(stderr, "usage: host_bench [count 1 ... 100000000]\n");
            return 2;
        }
        count = size_t(asked);
    }
    // Memory first, while the object pool is still empty: later rounds reuse the objects
    // that earlier ones freed, and their memory would not be counted.
    const double hostBytesPerLine = runHost(count).bytesPerLine;
    // One warm-up round each, so that neither pays for first touches alone.
    runVector(count / 10 + 1);
    runHost(count / 10 + 1);
    const Result plain = runVector(count);
    const Result host = runHost(count);
    if (plain.checksum != host.checksum)
        std::fprintf(stderr, "checksums differ: %.0f %.0f\n", plain.checksum, host.checksum);

    const double plainTotal = plain.create + plain.openClose;
    const double hostTotal = host.create + host.openClose;
    std::printf("lines: %zu\n", count);
    std::printf("%-28s %12s %12s %12s\n", "", "create (s)", "open+close", "total (s)");
    std::printf("%-28s %12.4f %12.4f %12.4f\n", "std::vector<LineData>", plain.create, plain.openClose, plainTotal);
    std::printf("%-28s %12.4f %12.4f %12.4f\n", "host database", host.create, host.openClose, hostTotal);
    std::printf("time ratio host / vector: %.2fx (aim: at most 3x)\n", hostTotal / plainTotal);
    std::printf("memory per line: vector %.1f bytes, host %.1f bytes (aim: at most 150)\n", plain.bytesPerLine,
                hostBytesPerLine);
    return 0;
}

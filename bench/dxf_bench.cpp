// Drawing files: writes and reads a drawing of 1,000,000 lines and reports
// MB/s beside ezdxf reading and writing the same file in the same run
// (through dxf_bench_ezdxf.py and Debian's python3-ezdxf); then the host
// alone on a drawing ten times as large, and how time and peak memory grew.
// Each size runs in processes of its own, so that peaks do not mix; the host's figures are
// the best of three runs (two for the large drawing).
//
//   dxf_bench [lines] [--no-ezdxf] [--no-large]
//   dxf_bench --one LINES FILE      (one size: prints its figures on one line)

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"
#include "dxf/dxffile.h"

using namespace kx;
using Clock = std::chrono::steady_clock;

namespace {

double seconds(Clock::time_point since) { return std::chrono::duration<double>(Clock::now() - since).count(); }

// The file mapped into memory: the reader works on the file's own pages,
// with no copy of its text.
class MappedFile {
public:
    explicit MappedFile(const std::filesystem::path& path)
    {
        const int fd = open(path.c_str(), O_RDONLY);
        if (fd < 0)
            return;
        const size_t size = size_t(std::filesystem::file_size(path));
        void* at = size ? mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0) : MAP_FAILED;
        close(fd);
        if (at != MAP_FAILED) {
            madvise(at, size, MADV_SEQUENTIAL);
            mData = static_cast<const char*>(at);
            mSize = size;
        }
    }
    ~MappedFile()
    {
        if (mData)
            munmap(const_cast<char*>(mData), mSize);
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    std::string_view view() const { return std::string_view(mData ? mData : "", mSize); }

private:
    const char* mData = nullptr;
    size_t mSize = 0;
};

// ezdxf's times for reading the file and writing it again; false when it
// cannot be run.
bool timeEzdxf(const std::filesystem::path& script, const std::filesystem::path& file,
               const std::filesystem::path& out, double& readSeconds, double& writeSeconds)
{
#ifdef _WIN32
    (void)script, (void)file, (void)out, (void)readSeconds, (void)writeSeconds;
    return false;
#else
    const std::string command = "/usr/bin/python3 '" + script.string() + "' '" + file.string() + "' '" + out.string() + "'";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return false;
    char line[256] = {};
    const bool got = std::fgets(line, sizeof(line), pipe) != nullptr;
    const int status = pclose(pipe);
    return got && status == 0 && std::sscanf(line, "%lf %lf", &readSeconds, &writeSeconds) == 2;
#endif
}

// One size: the drawing built, written to file, read back. Prints
// "megabytes write_s load_s parse_s peak_kb".
int runOne(size_t count, const std::filesystem::path& file)
{
    auto source = std::make_unique<VxDbDatabase>();
    {
        VxDbObjectPointer<VxDbBlockTableRecord> space(source->modelSpaceId(), VxDb::kForWrite);
        for (size_t i = 0; i < count; ++i) {
            const double x = double(i) * 0.001;
            auto* line = new VxDbLine({x, 1.5 * x, 0.0}, {x + 10.25, 2.0 * x - 3.0, 0.0});
            space->appendVxDbEntity(line);
            line->close();
        }
    }

    auto start = Clock::now();
    std::FILE* out = std::fopen(file.string().c_str(), "wb");
    if (!out || vxdbWriteDxf(source.get(), out, VxDbDxfVersion::kR2018) != Velt::eOk) {
        std::fprintf(stderr, "writing failed\n");
        return 1;
    }
    std::fclose(out);
    const double writeSeconds = seconds(start);
    const double megabytes = double(std::filesystem::file_size(file)) / 1e6;
    source.reset();

    // Reading: the file into memory, then into a new database.
    start = Clock::now();
    const MappedFile mapped(file);
    const std::string_view data = mapped.view();
    const double loadSeconds = seconds(start);
    start = Clock::now();
    VxDbDatabase target(false, true);
    VxDbDxfReadInfo info;
    const Velt::ErrorStatus es = vxdbReadDxf(&target, data, &info);
    const double parseSeconds = seconds(start);
    if (es != Velt::eOk || info.entities != count) {
        std::fprintf(stderr, "reading failed: %s %s\n", Velt::statusName(es), info.message.c_str());
        return 1;
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%.3f %.6f %.6f %.6f %ld\n", megabytes, writeSeconds, loadSeconds, parseSeconds, long(usage.ru_maxrss));
    return 0;
}

struct OneRun {
    double megabytes = 0, write = 0, load = 0, parse = 0;
    long peakKb = 0;
    double read() const { return load + parse; }
};

// Runs one size in a child process.
bool runChild(const char* self, size_t count, const std::filesystem::path& file, OneRun& run)
{
    const std::string command = "'" + std::string(self) + "' --one " + std::to_string(count) + " '" + file.string() + "'";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return false;
    char line[256] = {};
    const bool got = std::fgets(line, sizeof(line), pipe) != nullptr;
    const int status = pclose(pipe);
    return got && status == 0 &&
           std::sscanf(line, "%lf %lf %lf %lf %ld", &run.megabytes, &run.write, &run.load, &run.parse, &run.peakKb) == 5;
}

// The best of a few runs of one size: each of write and read at its fastest, memory at its
// peak. A shared machine slows single runs by up to 2x; the best is what the code costs.
bool runBest(const char* self, size_t count, const std::filesystem::path& file, int rounds, OneRun& best)
{
    for (int i = 0; i < rounds; ++i) {
        OneRun run;
        if (!runChild(self, count, file, run))
            return false;
        if (i == 0) {
            best = run;
            continue;
        }
        best.write = std::min(best.write, run.write);
        if (run.read() < best.read()) {
            best.load = run.load;
            best.parse = run.parse;
        }
        best.peakKb = std::max(best.peakKb, run.peakKb);
    }
    return true;
}

void printRun(const char* what, size_t count, const OneRun& run)
{
    std::printf("%s: drawing of %zu lines, %.1f MB (R2018 ASCII), peak memory %.1f MB\n", what, count, run.megabytes,
                double(run.peakKb) / 1024.0);
    std::printf("host  write: %7.3f s  %8.1f MB/s\n", run.write, run.megabytes / run.write);
    std::printf("host  read:  %7.3f s  %8.1f MB/s  (mapping %.3f s, parse and build %.3f s)\n", run.read(),
                run.megabytes / run.read(), run.load, run.parse);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && std::strcmp(argv[1], "--one") == 0)
        return runOne(size_t(std::strtoull(argv[2], nullptr, 10)), argv[3]);

    size_t count = 1000000;
    bool ezdxf = true;
    bool large = true;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--no-ezdxf") == 0)
            ezdxf = false;
        else if (std::strcmp(argv[i], "--no-large") == 0)
            large = false;
        else
            count = size_t(std::strtoull(argv[i], nullptr, 10));
    }
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "kx_dxf_bench";
    std::filesystem::create_directories(folder);
    const std::filesystem::path file = folder / "lines.dxf";
    const std::filesystem::path ezdxfOut = folder / "lines_ezdxf.dxf";
    auto cleanUp = [&] {
        std::error_code error;
        std::filesystem::remove_all(folder, error);
    };

    OneRun base;
    if (!runBest(argv[0], count, file, 3, base)) {
        std::printf("the drawing of %zu lines failed\n", count);
        cleanUp();
        return 1;
    }
    printRun("base", count, base);

    double ezRead = 0, ezWrite = 0;
    const std::filesystem::path script = std::filesystem::path(KX_BENCH_DIR) / "dxf_bench_ezdxf.py";
    if (ezdxf && timeEzdxf(script, file, ezdxfOut, ezRead, ezWrite)) {
        std::printf("ezdxf write: %7.3f s  %8.1f MB/s\n", ezWrite, base.megabytes / ezWrite);
        std::printf("ezdxf read:  %7.3f s  %8.1f MB/s\n", ezRead, base.megabytes / ezRead);
        std::printf("host / ezdxf: write %.1fx, read %.1fx (aim: 60x both)\n", ezWrite / base.write,
                    ezRead / base.read());
    } else if (ezdxf) {
        std::printf("ezdxf: not available (python3-ezdxf)\n");
    }
    cleanUp();

    if (large) {
        std::filesystem::create_directories(folder);
        const size_t largeCount = count * 10;
        OneRun big;
        if (!runBest(argv[0], largeCount, folder / "large.dxf", 2, big)) {
            std::printf("the drawing of %zu lines failed\n", largeCount);
            cleanUp();
            return 1;
        }
        printRun("large", largeCount, big);
        std::printf("large / base (10x the lines; aim: at most 12x): write time %.1fx, read time %.1fx, peak memory %.1fx\n",
                    big.write / base.write, big.read() / base.read(), double(big.peakKb) / double(base.peakKb));
        cleanUp();
    }
    return 0;
}

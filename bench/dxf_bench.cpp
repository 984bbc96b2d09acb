// Drawing files: writes and reads a drawing of 1,000,000 lines and reports
// MB/s beside ezdxf reading and writing the same file in the same run
// (through dxf_bench_ezdxf.py and Debian's python3-ezdxf).
//
//   dxf_bench [lines] [--no-ezdxf]

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"
#include "dxf/dxffile.h"

using namespace kx;
using Clock = std::chrono::steady_clock;

namespace {

double seconds(Clock::time_point since) { return std::chrono::duration<double>(Clock::now() - since).count(); }

std::string readWhole(const std::filesystem::path& path)
{
    std::string data(std::filesystem::file_size(path), '\0');
    std::ifstream in(path, std::ios::binary);
    in.read(data.data(), std::streamsize(data.size()));
    data.resize(size_t(in.gcount()));
    return data;
}

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

}  // namespace

int main(int argc, char** argv)
{
    size_t count = 1000000;
    bool ezdxf = true;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--no-ezdxf") == 0)
            ezdxf = false;
        else
            count = size_t(std::strtoull(argv[i], nullptr, 10));
    }
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "kx_dxf_bench";
    std::filesystem::create_directories(folder);
    const std::filesystem::path file = folder / "lines.dxf";
    const std::filesystem::path ezdxfOut = folder / "lines_ezdxf.dxf";

    // The drawing.
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

    // Writing.
    auto start = Clock::now();
    std::FILE* out = std::fopen(file.string().c_str(), "wb");
    if (!out || vxdbWriteDxf(source.get(), out, VxDbDxfVersion::kR2018) != Velt::eOk) {
        std::printf("writing failed\n");
        return 1;
    }
    std::fclose(out);
    const double writeSeconds = seconds(start);
    const double megabytes = double(std::filesystem::file_size(file)) / 1e6;
    source.reset();

    // Reading: the file into memory, then into a new database.
    start = Clock::now();
    const std::string data = readWhole(file);
    const double loadSeconds = seconds(start);
    start = Clock::now();
    VxDbDatabase target(false, true);
    VxDbDxfReadInfo info;
    const Velt::ErrorStatus es = vxdbReadDxf(&target, data, &info);
    const double parseSeconds = seconds(start);
    if (es != Velt::eOk || info.entities != count) {
        std::printf("reading failed: %s %s\n", Velt::statusName(es), info.message.c_str());
        return 1;
    }
    const double readSeconds = loadSeconds + parseSeconds;

    std::printf("drawing of %zu lines: %.1f MB (R2018 ASCII)\n", count, megabytes);
    std::printf("host  write: %7.3f s  %8.1f MB/s\n", writeSeconds, megabytes / writeSeconds);
    std::printf("host  read:  %7.3f s  %8.1f MB/s  (file %.3f s, parse and build %.3f s)\n", readSeconds,
                megabytes / readSeconds, loadSeconds, parseSeconds);

    double ezRead = 0, ezWrite = 0;
    const std::filesystem::path script = std::filesystem::path(KX_BENCH_DIR) / "dxf_bench_ezdxf.py";
    if (ezdxf && timeEzdxf(script, file, ezdxfOut, ezRead, ezWrite)) {
        std::printf("ezdxf write: %7.3f s  %8.1f MB/s\n", ezWrite, megabytes / ezWrite);
        std::printf("ezdxf read:  %7.3f s  %8.1f MB/s\n", ezRead, megabytes / ezRead);
        std::printf("host / ezdxf: write %.1fx, read %.1fx (aim: 20x both)\n", ezWrite / writeSeconds,
                    ezRead / readSeconds);
    } else if (ezdxf) {
        std::printf("ezdxf: not available (python3-ezdxf)\n");
    }
    std::error_code error;
    std::filesystem::remove_all(folder, error);
    return 0;
}

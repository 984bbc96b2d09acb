#include "dxf/dxffile.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "db/database.h"
#include "db/strings.h"
#include "dxf/dxfxref.h"

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace kx {

namespace {

namespace fs = std::filesystem;

std::FILE* openFile(const fs::path& path, bool write)
{
#ifdef _WIN32
    return _wfopen(path.c_str(), write ? L"wb" : L"rb");
#else
    return std::fopen(path.c_str(), write ? "wb" : "rb");
#endif
}

struct FileCloser {
    void operator()(std::FILE* file) const
    {
        if (file)
            std::fclose(file);
    }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

Velt::ErrorStatus readWholeFile(const fs::path& path, std::string& data)
{
    std::error_code error;
    if (!fs::exists(path, error))
        return Velt::eFileNotFound;
    if (!fs::is_regular_file(path, error))
        return Velt::eFileAccessErr;
    FilePtr file(openFile(path, false));
    if (!file)
        return Velt::eFileAccessErr;
    // The size is a hint only: the file may change while it is read.
    data.clear();
    data.reserve(size_t(fs::file_size(path, error)) + 1);
    char buffer[1 << 16];
    size_t got;
    while ((got = std::fread(buffer, 1, sizeof(buffer), file.get())) > 0)
        data.append(buffer, got);
    if (std::ferror(file.get()))
        return Velt::eFileAccessErr;
    return Velt::eOk;
}

// A drawing in the binary format of the editor, which the host does not read.
bool looksLikeBinaryDrawing(std::string_view data)
{
    return data.size() >= 6 && data.substr(0, 4) == "AC10" && data[4] >= '0' && data[4] <= '9' && data[5] >= '0' &&
           data[5] <= '9' && (data.size() == 6 || (data[6] != '\r' && data[6] != '\n'));
}

Velt::ErrorStatus readFile(VxDbDatabase* database, const wchar_t* fileName, VxDbDxfReadInfo& info)
{
    if (!database)
        return Velt::eNoDatabase;
    if (!fileName || !*fileName)
        return Velt::eInvalidInput;
    if (database->objectSlotCount() > 1)
        return Velt::eInvalidInput;
    const fs::path path = vxToPath(fileName);
    std::string data;
    if (Velt::ErrorStatus es = readWholeFile(path, data)) {
        info.message = es == Velt::eFileNotFound ? "no such file" : "the file cannot be read";
        return es;
    }
    if (looksLikeBinaryDrawing(data)) {
        info.message = "a binary drawing, which this host does not read";
        return Velt::eBadFileFormat;
    }
    const Velt::ErrorStatus es = vxdbReadDxf(database, data, &info);
    if (es != Velt::eOk)
        return es;
    std::error_code error;
    database->setFilename(vxFromPath(fs::absolute(path, error)));
    vxdbResolveXrefs(database);
    return Velt::eOk;
}

void writeLog(const wchar_t* logFileName, const wchar_t* fileName, Velt::ErrorStatus es, const VxDbDxfReadInfo& info)
{
    FilePtr log(openFile(vxToPath(logFileName), true));
    if (!log)
        return;
    std::string text = "Reading " + vxToUtf8(vxView(fileName)) + ": " + Velt::statusName(es) + "\n";
    if (!info.message.empty())
        text += info.message + "\n";
    text += "version " + std::string(vxdbDxfVersionName(info.version)) + (info.binary ? ", binary" : "") + "\n";
    text += std::to_string(info.entities) + " entities (" + std::to_string(info.opaqueEntities) + " kept as read), " +
            std::to_string(info.objects) + " objects (" + std::to_string(info.opaqueObjects) + " kept as read)\n";
    for (const std::string& warning : info.warnings)
        text += "warning: " + warning + "\n";
    std::fwrite(text.data(), 1, text.size(), log.get());
}

// A name beside the target that no other save uses at the same time.
fs::path temporaryBeside(const fs::path& target)
{
    static std::atomic<unsigned> counter{0};
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    fs::path temp = target;
    temp += ".kx" + std::to_string(uint64_t(stamp) % 1000000007ull) + "-" + std::to_string(counter++) + ".tmp";
    return temp;
}

// Puts what was written on the disk itself before it is renamed into place,
// so a crash of the machine cannot leave a renamed but empty file.
bool syncFile(std::FILE* file)
{
    if (std::fflush(file) != 0)
        return false;
#ifdef _WIN32
    return _commit(_fileno(file)) == 0;
#else
    return ::fsync(fileno(file)) == 0;
#endif
}

// Moves from onto to in one step: to holds either its old or its new
// contents at every moment, never neither.
bool replaceFile(const fs::path& from, const fs::path& to)
{
#ifdef _WIN32
    return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
#else
    std::error_code error;
    fs::rename(from, to, error);
    return !error;
#endif
}

// Makes backup a copy of target while target stays where it is, then
// renames it over the old backup in one step. A copy, not a link: a save
// stopped after this step must not leave the drawing and its backup as one
// file that a later write in place would change both of.
bool copyToBackup(const fs::path& target, const fs::path& backup)
{
    const fs::path staged = temporaryBeside(backup);
    std::error_code error;
    if (!fs::copy_file(target, staged, fs::copy_options::overwrite_existing, error) || error) {
        fs::remove(staged, error);
        return false;
    }
    const bool done = replaceFile(staged, backup);
    // (left behind only by a failed rename)
    fs::remove(staged, error);
    return done;
}

#ifndef _WIN32
// Makes the renames themselves survive a crash of the machine.
void syncFolder(const fs::path& folder)
{
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}
#endif

// The new drawing goes to a temporary file beside the target, which is
// flushed to the disk and then renamed over the target, so that whatever
// stops the save (the process killed, a full disk, a folder that cannot be
// written) the target holds the whole previous drawing or the whole new one.
// The backup is made before the rename and is the previous drawing.
Velt::ErrorStatus writeFile(VxDbDatabase* database, const fs::path& target, VxDbDxfVersion version, int precision,
                            bool keepBackup)
{
    std::error_code error;
    if (target.empty() || fs::is_directory(target, error))
        return Velt::eInvalidInput;
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, error))
        return Velt::eFileAccessErr;
    const fs::path temp = temporaryBeside(target);
    {
        FilePtr file(openFile(temp, true));
        if (!file)
            return Velt::eFileAccessErr;
        Velt::ErrorStatus es = vxdbWriteDxf(database, file.get(), version, precision);
        if (es == Velt::eOk && !syncFile(file.get()))
            es = Velt::eFileAccessErr;
        if (std::fclose(file.release()) != 0 && es == Velt::eOk)
            es = Velt::eFileAccessErr;
        if (es != Velt::eOk) {
            fs::remove(temp, error);
            return es;
        }
    }
    fs::path backup = target;
    backup.replace_extension(".bak");
    // A drawing that is itself named like its backup has none.
    const bool wantBackup = keepBackup && backup != target && fs::is_regular_file(target, error);
    bool replaced = false;
#ifdef _WIN32
    // The system's own replace-with-backup; where it fails (the backup's
    // name taken by a folder, a file system without it) the steps below.
    if (wantBackup && !fs::is_directory(backup, error))
        replaced = ReplaceFileW(target.c_str(), temp.c_str(), backup.c_str(), REPLACEFILE_IGNORE_MERGE_ERRORS,
                                nullptr, nullptr) != 0;
#endif
    if (!replaced) {
        if (wantBackup && !copyToBackup(target, backup)) {
            fs::remove(temp, error);
            return Velt::eFileAccessErr;
        }
        if (!replaceFile(temp, target)) {
            fs::remove(temp, error);
            return Velt::eFileAccessErr;
        }
    }
#ifndef _WIN32
    syncFolder(folder);
#endif
    return Velt::eOk;
}

}  // namespace

Velt::ErrorStatus vxdbReadDwgFile(VxDbDatabase* database, const wchar_t* fileName, int, bool, const wchar_t*)
{
    VxDbDxfReadInfo info;
    return readFile(database, fileName, info);
}

Velt::ErrorStatus vxdbDxfIn(VxDbDatabase* database, const wchar_t* fileName, const wchar_t* logFileName)
{
    VxDbDxfReadInfo info;
    const Velt::ErrorStatus es = readFile(database, fileName, info);
    if (logFileName && *logFileName)
        writeLog(logFileName, fileName, es, info);
    return es;
}

Velt::ErrorStatus vxdbDxfOut(VxDbDatabase* database, const wchar_t* fileName, int precision, int version, bool)
{
    if (!database)
        return Velt::eNoDatabase;
    if (!fileName || !*fileName || precision < 0 || precision > 16)
        return Velt::eInvalidInput;
    VxDbDxfVersion fileVersion;
    if (Velt::ErrorStatus es = vxdbDxfVersionOfSaveCode(version, fileVersion))
        return es;
    // 16 places and more is as exact as a real gets.
    return writeFile(database, vxToPath(fileName), fileVersion, precision >= 16 ? 0 : precision, false);
}

Velt::ErrorStatus vxdbSaveAs(VxDbDatabase* database, const wchar_t* fileName, bool bakAndRename, int version,
                             const void*)
{
    if (!database)
        return Velt::eNoDatabase;
    if (!fileName || !*fileName)
        return Velt::eInvalidInput;
    VxDbDxfVersion fileVersion;
    if (Velt::ErrorStatus es = vxdbDxfVersionOfSaveCode(version, fileVersion))
        return es;
    const fs::path target = vxToPath(fileName);
    if (Velt::ErrorStatus es = writeFile(database, target, fileVersion, 0, bakAndRename))
        return es;
    std::error_code error;
    database->setFilename(vxFromPath(fs::absolute(target, error)));
    return Velt::eOk;
}

}  // namespace kx

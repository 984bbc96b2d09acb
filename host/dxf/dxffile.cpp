#include "dxf/dxffile.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "db/database.h"
#include "db/strings.h"
#include "dxf/dxfxref.h"

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

// Moves from onto to, replacing it.
bool replaceFile(const fs::path& from, const fs::path& to)
{
    std::error_code error;
    fs::rename(from, to, error);
    if (!error)
        return true;
    // Some systems do not rename over an existing file.
    if (fs::exists(to, error)) {
        fs::remove(to, error);
        fs::rename(from, to, error);
        return !error;
    }
    return false;
}

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
        if (es == Velt::eOk && std::fflush(file.get()) != 0)
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
    // A drawing that is itself named like its backup has none: moving it
    // there would remove it before the new one is in place.
    if (keepBackup && backup != target && fs::exists(target, error)) {
        fs::remove(backup, error);
        fs::rename(target, backup, error);
        if (error) {
            fs::remove(temp, error);
            return Velt::eFileAccessErr;
        }
    }
    if (!replaceFile(temp, target)) {
        fs::remove(temp, error);
        return Velt::eFileAccessErr;
    }
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

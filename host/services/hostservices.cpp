#include "services/hostservices.h"

#include <cstdlib>
#include <filesystem>

#include "db/blocks.h"
#include "db/database.h"
#include "db/internal.h"
#include "db/layout.h"
#include "db/strings.h"
#include "db/symtables.h"
#include "services/display.h"
#include "services/doclock.h"
#include "services/linkmanager.h"

namespace kx {

namespace {

std::vector<std::wstring> pathsFromEnvironment()
{
    std::vector<std::wstring> paths;
    const char* value = std::getenv("KX_SUPPORT_PATH");
    if (!value)
        return paths;
#ifdef _WIN32
    const char separator = ';';
#else
    const char separator = ':';
#endif
    std::string text(value);
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find_first_of(std::string(1, separator) + ";", start);
        if (end == std::string::npos)
            end = text.size();
        if (end > start)
            paths.push_back(vxFromUtf8(text.substr(start, end - start)));
        start = end + 1;
    }
    return paths;
}

}  // namespace

VxDbHostApplicationServices::VxDbHostApplicationServices()
    : mSupportPaths(pathsFromEnvironment()), mAppVars{{L"FILEDIA", 1}, {L"CMDECHO", 1}}
{
}

VxDbHostApplicationServices* vxdbHostApplicationServices()
{
    static VxDbHostApplicationServices services;
    return &services;
}

VxDbDatabase* VxDbHostApplicationServices::workingDatabase() const
{
    std::lock_guard lock(mMutex);
    return mWorkingDatabase;
}

void VxDbHostApplicationServices::setWorkingDatabase(VxDbDatabase* database)
{
    std::lock_guard lock(mMutex);
    mWorkingDatabase = database;
}

std::vector<std::wstring> VxDbHostApplicationServices::supportPaths() const
{
    std::lock_guard lock(mMutex);
    return mSupportPaths;
}

void VxDbHostApplicationServices::setSupportPaths(const std::vector<std::wstring>& paths)
{
    std::lock_guard lock(mMutex);
    mSupportPaths = paths;
}

Velt::ErrorStatus VxDbHostApplicationServices::findFile(std::wstring& found, const wchar_t* fileName,
                                                        VxDbDatabase* database) const
{
    found.clear();
    if (!fileName || !*fileName)
        return Velt::eInvalidInput;
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path name = vxToPath(fileName);
    auto isFile = [&](const fs::path& path) { return fs::is_regular_file(path, error); };
    if (name.has_parent_path() || name.is_absolute()) {
        if (isFile(name)) {
            found = vxFromPath(fs::absolute(name, error));
            return Velt::eOk;
        }
        return Velt::eFileNotFound;
    }
    std::vector<fs::path> folders;
    VxDbDatabase* db = database ? database : workingDatabase();
    if (db && !db->filename().empty())
        folders.push_back(vxToPath(db->filename()).parent_path());
    for (const std::wstring& folder : supportPaths())
        folders.push_back(vxToPath(folder));
    for (const fs::path& folder : folders) {
        const fs::path candidate = folder / name;
        if (isFile(candidate)) {
            found = vxFromPath(fs::absolute(candidate, error));
            return Velt::eOk;
        }
    }
    return Velt::eFileNotFound;
}

VxDbPlotSettingsValidator* VxDbHostApplicationServices::plotSettingsValidator()
{
    static VxDbPlotSettingsValidator validator;
    return &validator;
}

VxDbLayoutManager* VxDbHostApplicationServices::layoutManager() { return veltGetLayoutManager(); }

bool VxDbHostApplicationServices::getAppVar(const std::wstring& name, int16_t& value) const
{
    std::lock_guard lock(mMutex);
    for (const auto& var : mAppVars) {
        if (vxEqualNoCase(var.first, name)) {
            value = var.second;
            return true;
        }
    }
    return false;
}

bool VxDbHostApplicationServices::setAppVar(const std::wstring& name, int16_t value)
{
    std::lock_guard lock(mMutex);
    for (auto& var : mAppVars) {
        if (vxEqualNoCase(var.first, name)) {
            var.second = value;
            return true;
        }
    }
    return false;
}

// ---- system variables ----

namespace {

// Variables of the application that answer text.
bool appTextVar(const std::wstring& name, std::wstring& value)
{
    VxDbHostApplicationServices* services = vxdbHostApplicationServices();
    VxDbDatabase* db = services->workingDatabase();
    const std::filesystem::path file = db ? vxToPath(db->filename()) : std::filesystem::path();
    if (vxEqualNoCase(name, L"PRODUCT")) {
        value = services->productName();
    } else if (vxEqualNoCase(name, L"DWGNAME")) {
        value = file.empty() ? L"Drawing1.dwg" : vxFromPath(file.filename());
    } else if (vxEqualNoCase(name, L"DWGPREFIX")) {
        value = file.empty() ? L"" : vxFromPath(file.parent_path());
        if (!value.empty() && value.back() != L'/' && value.back() != L'\\')
            value += L'/';
    } else if (vxEqualNoCase(name, L"ACADPREFIX")) {
        for (const std::wstring& path : services->supportPaths())
            value += path + L';';
    } else {
        return false;
    }
    return true;
}

}  // namespace

int vxedGetVar(const wchar_t* name, VxResBuf* result)
{
    if (!name || !result)
        return kRtError;
    const std::wstring key(name);
    int16_t appValue = 0;
    if (vxdbHostApplicationServices()->getAppVar(key, appValue)) {
        result->restype = kRtShort;
        result->resval.rint = appValue;
        return kRtNorm;
    }
    std::wstring text;
    if (appTextVar(key, text)) {
        result->restype = kRtStr;
        result->resval.rstring = nullptr;
        vxutSetString(result, text);
        return kRtNorm;
    }
    VxDbDatabase* db = vxdbHostApplicationServices()->workingDatabase();
    VxResBuf* value = nullptr;
    if (!db || db->getSysVar(name, value) != Velt::eOk || !value)
        return kRtError;
    // Hand the value over, text included, without copying it again.
    result->restype = value->restype;
    result->resval = value->resval;
    value->restype = kRtNone;
    vxutRelRb(value);
    return kRtNorm;
}

int vxedGetVar(const wchar_t* name, VxResBufPtr& result)
{
    result.reset(vxutNewRb(kRtNone));
    const int status = vxedGetVar(name, result.get());
    if (status != kRtNorm)
        result.reset();
    return status;
}

int vxedSetVar(const wchar_t* name, const VxResBuf* value)
{
    if (!name || !value)
        return kRtError;
    int16_t current = 0;
    if (vxdbHostApplicationServices()->getAppVar(name, current)) {
        if (value->restype != kRtShort)
            return kRtError;
        vxdbHostApplicationServices()->setAppVar(name, value->resval.rint);
        return kRtNorm;
    }
    VxDbDatabase* db = vxdbHostApplicationServices()->workingDatabase();
    if (!db)
        return kRtError;
    return db->setSysVar(name, value) == Velt::eOk ? kRtNorm : kRtError;
}

int vxedFindFile(const wchar_t* fileName, wchar_t* result, size_t resultSize)
{
    if (!result || resultSize == 0)
        return kRtError;
    result[0] = L'\0';
    std::wstring found;
    if (vxdbHostApplicationServices()->findFile(found, fileName) != Velt::eOk)
        return kRtError;
    if (found.size() + 1 > resultSize)
        return kRtError;
    found.copy(result, found.size());
    result[found.size()] = L'\0';
    return kRtNorm;
}

size_t getVeltProductPreName(wchar_t* buffer, size_t size)
{
    const std::wstring_view prefix = vxdbHostApplicationServices()->productPrefix();
    if (!buffer || size < prefix.size() + 1)
        return 0;
    prefix.copy(buffer, prefix.size());
    buffer[prefix.size()] = L'\0';
    return prefix.size();
}

void VxCrashRecorder::setError(Velt::ErrorStatus status)
{
    std::lock_guard lock(mMutex);
    mPending = status;
}

void VxCrashRecorder::record()
{
    std::lock_guard lock(mMutex);
    mRecorded.push_back(mPending);
}

size_t VxCrashRecorder::recordCount() const
{
    std::lock_guard lock(mMutex);
    return mRecorded.size();
}

Velt::ErrorStatus VxCrashRecorder::lastRecorded() const
{
    std::lock_guard lock(mMutex);
    return mRecorded.empty() ? Velt::eOk : mRecorded.back();
}

VxCrashRecorder* veltGetCrashRecorder()
{
    static VxCrashRecorder recorder;
    return &recorder;
}

std::wstring veltResourceLibraryName()
{
    return std::wstring(vxdbHostApplicationServices()->productPrefix()) + L"AutoRes.dll";
}

Velt::ErrorStatus vxdbRegApp(const wchar_t* name, VxDbDatabase* database)
{
    VxDbDatabase* db = database ? database : vxdbHostApplicationServices()->workingDatabase();
    if (!db)
        return Velt::eNoDatabase;
    if (!name || !vxIsValidSymbolName(name))
        return Velt::eInvalidSymbolName;
    VxDbObjectPointer<VxDbRegAppTable> table(db->regAppTableId(), VxDb::kForRead);
    if (!table)
        return table.openStatus();
    if (table->has(name))
        return Velt::eOk;
    if (Velt::ErrorStatus es = table->upgradeOpen())
        return es;
    auto* record = new VxDbRegAppTableRecord();
    record->setName(name);
    if (Velt::ErrorStatus es = table->add(record)) {
        delete record;
        return es;
    }
    record->close();
    return Velt::eOk;
}

namespace {

Velt::ErrorStatus convert(const double in[3], double out[3], bool displacement, bool toUcs)
{
    if (!in || !out)
        return Velt::eInvalidInput;
    VxDbDatabase* db = vxdbHostApplicationServices()->workingDatabase();
    VxGeMatrix3d ucsToWorld = db ? db->currentUcsMatrix() : VxGeMatrix3d();
    VxGeMatrix3d m = ucsToWorld;
    if (toUcs && !ucsToWorld.inverse(m))
        return Velt::eInvalidInput;
    if (displacement) {
        const VxGeVector3d v = m.transform(VxGeVector3d{in[0], in[1], in[2]});
        out[0] = v.x;
        out[1] = v.y;
        out[2] = v.z;
    } else {
        const VxGePoint3d p = m.transform(VxGePoint3d{in[0], in[1], in[2]});
        out[0] = p.x;
        out[1] = p.y;
        out[2] = p.z;
    }
    return Velt::eOk;
}

}  // namespace

Velt::ErrorStatus vxdbWcs2Ucs(const double in[3], double out[3], bool displacement)
{
    return convert(in, out, displacement, true);
}

Velt::ErrorStatus vxdbUcs2Wcs(const double in[3], double out[3], bool displacement)
{
    return convert(in, out, displacement, false);
}

void detail::notifyDatabaseDestroyed(VxDbDatabase* database)
{
    VxDbHostApplicationServices* services = vxdbHostApplicationServices();
    if (services->workingDatabase() == database)
        services->setWorkingDatabase(nullptr);
    VxAxGetOleLinkManager()->forgetDatabase(database);
    VxHostDisplay::instance().forgetDatabase(database);
    VxAxDocLock::forgetDatabase(database);
}

}  // namespace kx

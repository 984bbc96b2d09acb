#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "db/objectid.h"
#include "db/resbuf.h"
#include "db/status.h"

namespace kx {

class VxDbDatabase;
class VxDbLayoutManager;
class VxDbPlotSettingsValidator;

// What the host application offers the database and the automation layer:
// the working database, file search, the plot-settings validator, product
// information and the application's own system variables.
class VxDbHostApplicationServices {
public:
    VxDbDatabase* workingDatabase() const;
    void setWorkingDatabase(VxDbDatabase* database);

    // Folders searched after the drawing's own folder. The environment
    // variable KX_SUPPORT_PATH (separated by ';', or ':' outside Windows)
    // gives the initial list.
    std::vector<std::wstring> supportPaths() const;
    void setSupportPaths(const std::vector<std::wstring>& paths);
    // An existing file: the name itself when it has a folder, else the
    // drawing's folder, then the support folders. eFileNotFound otherwise.
    Velt::ErrorStatus findFile(std::wstring& found, const wchar_t* fileName, VxDbDatabase* database = nullptr) const;

    VxDbPlotSettingsValidator* plotSettingsValidator();
    VxDbLayoutManager* layoutManager();

    // The product: its name and the prefix that names its resource library.
    const wchar_t* productName() const { return L"Tarsk"; }
    const wchar_t* productPrefix() const { return L"Nk"; }

    // Application variables (not kept in drawings), 16-bit integers.
    bool getAppVar(const std::wstring& name, int16_t& value) const;
    bool setAppVar(const std::wstring& name, int16_t value);

private:
    friend VxDbHostApplicationServices* vxdbHostApplicationServices();
    VxDbHostApplicationServices();

    mutable std::mutex mMutex;
    VxDbDatabase* mWorkingDatabase = nullptr;
    std::vector<std::wstring> mSupportPaths;
    std::vector<std::pair<std::wstring, int16_t>> mAppVars;
};

VxDbHostApplicationServices* vxdbHostApplicationServices();

// System variables: the working database's header variables and the
// application's own. kRtNorm, or kRtError for an unknown name or a value
// the variable does not take. A text result is allocated; put the buffer
// in a chain released with vxutRelRb, or use the second form.
int vxedGetVar(const wchar_t* name, VxResBuf* result);
int vxedGetVar(const wchar_t* name, VxResBufPtr& result);
int vxedSetVar(const wchar_t* name, const VxResBuf* value);

// File search for the editor: kRtNorm with the full path written to result,
// kRtError when not found or when result is too small.
int vxedFindFile(const wchar_t* fileName, wchar_t* result, size_t resultSize);

// The product prefix ("Nk"), terminated; the number of characters written
// (0 when the buffer is too small).
size_t getVeltProductPreName(wchar_t* buffer, size_t size);
// The file name of the resource-only library: prefix + "AutoRes.dll".
std::wstring veltResourceLibraryName();

// Loads one linetype from a linetype file into the database, or finds it
// there already; eKeyNotFound when the file does not define it.
Velt::ErrorStatus vxdbLoadLinetypeFromFile(const wchar_t* linetypeName, const wchar_t* fileName,
                                           VxDbDatabase* database, VxDbObjectId& id);
// Registers an application name in the database (nothing when it is there).
Velt::ErrorStatus vxdbRegApp(const wchar_t* name, VxDbDatabase* database = nullptr);

// Keeps the errors that ended an operation abnormally, for the crash report: an error is
// set, then recorded.
class VxCrashRecorder {
public:
    void setError(Velt::ErrorStatus status);
    void record();
    size_t recordCount() const;
    Velt::ErrorStatus lastRecorded() const;

private:
    mutable std::mutex mMutex;
    Velt::ErrorStatus mPending = Velt::eOk;
    std::vector<Velt::ErrorStatus> mRecorded;
};

VxCrashRecorder* veltGetCrashRecorder();

// World to current user coordinates of the working database and back; with
// displacement true a vector (no translation).
Velt::ErrorStatus vxdbWcs2Ucs(const double in[3], double out[3], bool displacement = false);
Velt::ErrorStatus vxdbUcs2Wcs(const double in[3], double out[3], bool displacement = false);

}  // namespace kx

#include "db/filedeps.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>

#include "db/strings.h"
#include "services/hostservices.h"

namespace kx {

namespace {

std::wstring nameWithoutFolder(const std::wstring& path)
{
    const size_t slash = path.find_last_of(L"\\/");
    return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

}  // namespace

int VxDbFileDependencyManager::createEntry(const wchar_t* feature, const wchar_t* fullFileName, bool affectsGraphics,
                                           bool noIncrement)
{
    if (!feature || !*feature || !fullFileName || !*fullFileName)
        return 0;
    if (const int existing = findEntry(feature, fullFileName)) {
        VxDbFileDependencyInfo* entry = find(existing);
        if (!noIncrement)
            ++entry->referenceCount;
        entry->affectsGraphics = entry->affectsGraphics || affectsGraphics;
        return existing;
    }
    VxDbFileDependencyInfo entry;
    entry.feature = feature;
    entry.fullFileName = fullFileName;
    entry.fileName = nameWithoutFolder(entry.fullFileName);
    entry.affectsGraphics = affectsGraphics;
    entry.referenceCount = 1;
    entry.index = mNextIndex++;
    look(entry);
    mEntries.push_back(std::move(entry));
    return mEntries.back().index;
}

int VxDbFileDependencyManager::findEntry(const wchar_t* feature, const wchar_t* fullFileName) const
{
    if (!feature || !fullFileName)
        return 0;
    for (const VxDbFileDependencyInfo& entry : mEntries)
        if (vxEqualNoCase(entry.feature, feature) && vxEqualNoCase(entry.fullFileName, fullFileName))
            return entry.index;
    return 0;
}

Velt::ErrorStatus VxDbFileDependencyManager::getEntry(int index, VxDbFileDependencyInfo& info) const
{
    for (const VxDbFileDependencyInfo& entry : mEntries) {
        if (entry.index == index) {
            info = entry;
            return Velt::eOk;
        }
    }
    return Velt::eInvalidIndex;
}

Velt::ErrorStatus VxDbFileDependencyManager::eraseEntry(int index, bool forceRemove)
{
    VxDbFileDependencyInfo* entry = find(index);
    if (!entry)
        return Velt::eInvalidIndex;
    if (forceRemove || --entry->referenceCount <= 0)
        mEntries.erase(mEntries.begin() + (entry - mEntries.data()));
    return Velt::eOk;
}

Velt::ErrorStatus VxDbFileDependencyManager::updateEntry(int index)
{
    VxDbFileDependencyInfo* entry = find(index);
    if (!entry)
        return Velt::eInvalidIndex;
    const int64_t size = entry->fileSize, time = entry->timeStamp;
    const bool wasFound = !entry->foundPath.empty();
    look(*entry);
    entry->isModified = wasFound && (size != entry->fileSize || time != entry->timeStamp);
    return Velt::eOk;
}

std::vector<int> VxDbFileDependencyManager::indices() const
{
    std::vector<int> result;
    result.reserve(mEntries.size());
    for (const VxDbFileDependencyInfo& entry : mEntries)
        result.push_back(entry.index);
    return result;
}

VxDbFileDependencyInfo* VxDbFileDependencyManager::find(int index)
{
    auto it = std::find_if(mEntries.begin(), mEntries.end(),
                           [index](const VxDbFileDependencyInfo& entry) { return entry.index == index; });
    return it == mEntries.end() ? nullptr : &*it;
}

// Finds the file as the drawing would and records what it is now.
void VxDbFileDependencyManager::look(VxDbFileDependencyInfo& entry) const
{
    std::wstring found;
    entry.foundPath.clear();
    entry.fileSize = 0;
    entry.timeStamp = 0;
    if (vxdbHostApplicationServices()->findFile(found, entry.fullFileName.c_str(), mDatabase) != Velt::eOk)
        return;
    std::error_code error;
    const std::filesystem::path path = vxToPath(found);
    const auto size = std::filesystem::file_size(path, error);
    if (error)
        return;
    const auto written = std::filesystem::last_write_time(path, error);
    entry.foundPath = found;
    entry.fileSize = int64_t(size);
    if (!error) {
        const auto since = written - std::filesystem::file_time_type::clock::now() + std::chrono::system_clock::now();
        entry.timeStamp = std::chrono::duration_cast<std::chrono::seconds>(since.time_since_epoch()).count();
    }
}

}  // namespace kx

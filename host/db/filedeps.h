#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "db/status.h"

namespace kx {

class VxDbDatabase;

// One file that a feature of the drawing uses (a referenced drawing, an image, a font ...).
struct VxDbFileDependencyInfo {
    std::wstring feature;
    std::wstring fullFileName;
    std::wstring fileName;   // the name without its folder
    std::wstring foundPath;  // where the file was found, empty when it was not
    std::wstring fingerprintGuid;
    std::wstring versionGuid;
    int64_t timeStamp = 0;  // seconds since 1970, of the file found
    int64_t fileSize = 0;
    bool affectsGraphics = false;
    bool isModified = false;  // the file changed since the entry last looked at it
    int referenceCount = 0;
    int index = 0;  // 1-based, stays with the entry while it lives
};

// The files a drawing depends on. Entries are counted: creating an existing
// (feature, file) pair adds a reference, erasing takes one away and removes the
// entry with the last one.
class VxDbFileDependencyManager {
public:
    explicit VxDbFileDependencyManager(VxDbDatabase* database) : mDatabase(database) {}

    // The index of the new or existing entry; 0 for an empty feature or file name.
    int createEntry(const wchar_t* feature, const wchar_t* fullFileName, bool affectsGraphics = false,
                    bool noIncrement = false);
    // 0 when there is no such entry. Names compare without regard to case.
    int findEntry(const wchar_t* feature, const wchar_t* fullFileName) const;
    Velt::ErrorStatus getEntry(int index, VxDbFileDependencyInfo& info) const;
    // Takes one reference away; forceRemove removes the entry at once.
    Velt::ErrorStatus eraseEntry(int index, bool forceRemove = false);
    // Looks for the file again and records its size and time.
    Velt::ErrorStatus updateEntry(int index);
    int countEntries() const { return int(mEntries.size()); }
    // The indices of the live entries, in creation order.
    std::vector<int> indices() const;

private:
    VxDbFileDependencyInfo* find(int index);
    void look(VxDbFileDependencyInfo& entry) const;
    VxDbDatabase* mDatabase;
    std::vector<VxDbFileDependencyInfo> mEntries;
    int mNextIndex = 1;
};

}  // namespace kx

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "db/color.h"
#include "db/object.h"

namespace kx {

class VxDbGroupIterator;

// A named, ordered selection of entities of one drawing, kept in the group
// dictionary. Its name is its key there. The property setters apply to
// every live member.
class VxDbGroup : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbGroup)
public:
    VxDbGroup() = default;
    explicit VxDbGroup(const wchar_t* description, bool selectable = true);

    // The key of the group in its owner dictionary; empty while it has none.
    std::wstring name() const;
    const std::wstring& description() const { return mDescription; }
    Velt::ErrorStatus setDescription(const wchar_t* text);
    bool isSelectable() const { return mSelectable; }
    Velt::ErrorStatus setSelectable(bool value) { return setField(mSelectable, value); }
    bool isAnonymous() const;

    // Members must be live entities of the group's drawing, each once.
    Velt::ErrorStatus append(VxDbObjectId id);
    Velt::ErrorStatus append(const VxDbObjectIdArray& ids);
    Velt::ErrorStatus insertAt(int index, VxDbObjectId id);
    Velt::ErrorStatus remove(VxDbObjectId id);
    Velt::ErrorStatus remove(const VxDbObjectIdArray& ids);
    Velt::ErrorStatus removeAt(int index);
    Velt::ErrorStatus clear();
    bool has(VxDbObjectId id) const;
    // Members that are not erased.
    int numEntities() const;
    VxDbObjectIdArray allEntityIds() const;
    Velt::ErrorStatus newIterator(std::unique_ptr<VxDbGroupIterator>& iterator) const;

    Velt::ErrorStatus setColor(const VxCmColor& color);
    Velt::ErrorStatus setColorIndex(int16_t index);
    Velt::ErrorStatus setLayer(const wchar_t* name);
    Velt::ErrorStatus setLinetype(const wchar_t* name);
    Velt::ErrorStatus setLinetypeScale(double scale);
    Velt::ErrorStatus setVisibility(VxDb::Visibility visibility);
    Velt::ErrorStatus setHighlight(bool on);
    Velt::ErrorStatus setMaterial(const wchar_t* name);

    // Every member in order, erased ones included.
    const std::vector<VxDbObjectId>& memberIds() const { return mMembers; }
    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    // Opens each live member for write and applies the change; the first
    // failure is reported after all members were tried.
    template <class F>
    Velt::ErrorStatus forEachMember(F&& change);

    std::vector<VxDbObjectId> mMembers;
    std::wstring mDescription;
    bool mSelectable = true;
};

class VxDbGroupIterator {
public:
    explicit VxDbGroupIterator(VxDbObjectId group);
    bool done() const;
    bool next();
    VxDbObjectId objectId() const;
    Velt::ErrorStatus getObject(VxDbObject*& object, VxDb::OpenMode mode = VxDb::kForRead) const;

private:
    void skipErased();
    VxDbObjectId mGroup;
    size_t mIndex = 0;
};

}  // namespace kx

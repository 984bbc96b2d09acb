#include "dxf/dxfxref.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "db/blocks.h"
#include "db/clone.h"
#include "db/database.h"
#include "db/internal.h"
#include "db/strings.h"
#include "db/symtables.h"
#include "dxf/dxffile.h"
#include "services/hostservices.h"

namespace kx {

namespace {

// Side databases of loaded references, by the id of their block record.
// Entries whose block is gone (its drawing deleted or the record erased)
// are dropped on each use.
struct Registry {
    std::mutex mutex;
    std::map<uint64_t, std::unique_ptr<VxDbDatabase>> sides;
};

Registry& registry()
{
    static Registry r;
    return r;
}

void purge(Registry& r)
{
    for (auto it = r.sides.begin(); it != r.sides.end();) {
        const VxDbObjectId block = VxDbObjectId::fromOldId(int64_t(it->first));
        if (!block.isValid() || block.isErased())
            it = r.sides.erase(it);
        else
            ++it;
    }
}

void setSide(VxDbObjectId block, std::unique_ptr<VxDbDatabase> side)
{
    std::unique_ptr<VxDbDatabase> old;
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    purge(r);
    auto& slot = r.sides[block.value()];
    old = std::move(slot);
    slot = std::move(side);
    if (!slot)
        r.sides.erase(block.value());
    // old is deleted here, after the registry is consistent again.
}

// The drawing being loaded on this thread, for cycles and nesting; the outer ones are linked
// from it. A plain pointer: a thread-local with a destructor may run after its storage is
// gone on MinGW.
struct LoadingDrawing {
    std::wstring path;
    const LoadingDrawing* outer;
};
thread_local const LoadingDrawing* tLoading = nullptr;
constexpr size_t kMaxNesting = 8;

// A drawing on this thread's loading list for the scope's life.
class LoadingScope {
public:
    explicit LoadingScope(std::wstring path) : mFrame{std::move(path), tLoading} { tLoading = &mFrame; }
    ~LoadingScope() { tLoading = mFrame.outer; }
    LoadingScope(const LoadingScope&) = delete;
    LoadingScope& operator=(const LoadingScope&) = delete;

private:
    LoadingDrawing mFrame;
};

VxDbDatabase* targetDatabase(VxDbDatabase* database)
{
    return database ? database : vxdbHostApplicationServices()->workingDatabase();
}

Velt::ErrorStatus findXrefBlock(VxDbDatabase* db, const wchar_t* name, VxDbBlockTableRecord*& block, VxDbObjectId& id)
{
    block = nullptr;
    if (!db)
        return Velt::eNoDatabase;
    if (!name || !*name)
        return Velt::eInvalidInput;
    id = db->blockId(name);
    if (id.isNull())
        return Velt::eKeyNotFound;
    block = VxDbBlockTableRecord::cast(detail::objectOf(id));
    if (!block || !block->isFromExternalReference())
        return Velt::eNotApplicable;
    return Velt::eOk;
}

Velt::ErrorStatus attach(const wchar_t* path, const wchar_t* name, VxDbObjectId blockId, VxDbObjectId& referenceId,
                         const VxGePoint3d& position, const VxGeVector3d& scale, double rotation, VxDbDatabase* database,
                         bool overlay)
{
    referenceId = VxDbObjectId();
    VxDbDatabase* db = targetDatabase(database);
    if (!db)
        return Velt::eNoDatabase;
    if (!path || !*path || !name || !vxIsValidSymbolName(name) || name[0] == L'*')
        return Velt::eInvalidInput;
    if (scale.x == 0.0 || scale.y == 0.0 || scale.z == 0.0 || !std::isfinite(rotation))
        return Velt::eInvalidInput;
    if (!db->blockId(name).isNull())
        return Velt::eDuplicateRecordName;
    const VxDbObjectId space = !blockId.isNull() ? blockId : db->tilemode() ? db->modelSpaceId() : db->paperSpaceId();
    if (space.database() != db)
        return Velt::eWrongDatabase;

    std::unique_ptr<VxDbDatabase> side;
    if (Velt::ErrorStatus es = vxdbReadSideDatabase(path, side, db))
        return es;

    // The block that stands for the drawing: a name and a path, no entities.
    VxDbObjectId xrefBlockId;
    {
        VxDbObjectPointer<VxDbBlockTable> table(db->blockTableId(), VxDb::kForWrite);
        if (!table)
            return table.openStatus();
        auto* block = new VxDbBlockTableRecord();
        block->setName(name);
        block->setPathName(path);
        block->setIsFromOverlayReference(overlay);
        block->setOrigin(side->insbase());
        if (Velt::ErrorStatus es = table->add(xrefBlockId, block)) {
            delete block;
            return es;
        }
        block->close();
    }
    // Its insertion.
    VxDbObjectPointer<VxDbBlockTableRecord> target(space, VxDb::kForWrite);
    auto* reference = new VxDbBlockReference(position, xrefBlockId);
    Velt::ErrorStatus es = target.openStatus();
    if (es == Velt::eOk)
        es = reference->setDatabaseDefaults(db);
    if (es == Velt::eOk)
        es = reference->setScaleFactors(scale);
    if (es == Velt::eOk)
        es = reference->setRotation(rotation);
    if (es == Velt::eOk)
        es = target->appendVxDbEntity(referenceId, reference);
    if (es != Velt::eOk) {
        delete reference;
        VxDbObjectPointer<VxDbBlockTableRecord> block(xrefBlockId, VxDb::kForWrite);
        if (block)
            block->erase();
        return es;
    }
    reference->close();
    setSide(xrefBlockId, std::move(side));
    return Velt::eOk;
}

}  // namespace

Velt::ErrorStatus vxdbReadSideDatabase(const wchar_t* fileName, std::unique_ptr<VxDbDatabase>& side,
                                       VxDbDatabase* lookupFrom)
{
    side.reset();
    if (!fileName || !*fileName)
        return Velt::eInvalidInput;
    // Paths from scripts may carry doubled separators.
    std::wstring normalized = fileName;
    for (size_t at; (at = normalized.find(L"\\\\", 1)) != std::wstring::npos;)
        normalized.erase(at, 1);
    std::wstring found;
    if (vxdbHostApplicationServices()->findFile(found, normalized.c_str(), lookupFrom) != Velt::eOk &&
        vxdbHostApplicationServices()->findFile(found, fileName, lookupFrom) != Velt::eOk)
        return Velt::eFileNotFound;
    size_t depth = 0;
    for (const LoadingDrawing* loading = tLoading; loading; loading = loading->outer, ++depth) {
        if (vxEqualNoCase(loading->path, found))
            return Velt::eSelfReference;
    }
    if (depth >= kMaxNesting)
        return Velt::eOutOfRange;
    auto db = std::make_unique<VxDbDatabase>(false, true);
    Velt::ErrorStatus es;
    {
        const LoadingScope loading(found);
        es = vxdbReadDwgFile(db.get(), found.c_str());
    }
    if (es != Velt::eOk)
        return es;
    side = std::move(db);
    return Velt::eOk;
}

Velt::ErrorStatus vxdbInsertDrawingFile(VxDbDatabase* database, const wchar_t* blockName, const wchar_t* fileName,
                                        VxDbObjectId& blockId)
{
    blockId = VxDbObjectId();
    VxDbDatabase* db = targetDatabase(database);
    if (!db)
        return Velt::eNoDatabase;
    std::unique_ptr<VxDbDatabase> side;
    if (Velt::ErrorStatus es = vxdbReadSideDatabase(fileName, side, db))
        return es;
    return db->insert(blockId, blockName, side.get());
}

Velt::ErrorStatus vxedXrefAttach(const wchar_t* path, const wchar_t* name, VxDbObjectId blockId,
                                 VxDbObjectId& referenceId, const VxGePoint3d& position, const VxGeVector3d& scale,
                                 double rotation, bool, VxDbDatabase* database, const wchar_t*)
{
    return attach(path, name, blockId, referenceId, position, scale, rotation, database, false);
}

Velt::ErrorStatus vxedXrefOverlay(const wchar_t* path, const wchar_t* name, VxDbObjectId blockId,
                                  VxDbObjectId& referenceId, const VxGePoint3d& position, const VxGeVector3d& scale,
                                  double rotation, bool, VxDbDatabase* database, const wchar_t*)
{
    return attach(path, name, blockId, referenceId, position, scale, rotation, database, true);
}

Velt::ErrorStatus vxedXrefReload(const wchar_t* name, bool, VxDbDatabase* database)
{
    VxDbDatabase* db = targetDatabase(database);
    VxDbBlockTableRecord* block = nullptr;
    VxDbObjectId id;
    if (Velt::ErrorStatus es = findXrefBlock(db, name, block, id))
        return es;
    std::unique_ptr<VxDbDatabase> side;
    if (Velt::ErrorStatus es = vxdbReadSideDatabase(block->pathName().c_str(), side, db))
        return es;
    VxDbObjectPointer<VxDbBlockTableRecord> open(id, VxDb::kForWrite);
    if (!open)
        return open.openStatus();
    open->setIsUnloaded(false);
    setSide(id, std::move(side));
    return Velt::eOk;
}

Velt::ErrorStatus vxedXrefUnload(const wchar_t* name, bool, VxDbDatabase* database)
{
    VxDbDatabase* db = targetDatabase(database);
    VxDbBlockTableRecord* block = nullptr;
    VxDbObjectId id;
    if (Velt::ErrorStatus es = findXrefBlock(db, name, block, id))
        return es;
    VxDbObjectPointer<VxDbBlockTableRecord> open(id, VxDb::kForWrite);
    if (!open)
        return open.openStatus();
    open->setIsUnloaded(true);
    setSide(id, nullptr);
    return Velt::eOk;
}

Velt::ErrorStatus vxedXrefBind(const wchar_t* name, bool insertBind, bool quiet, VxDbDatabase* database)
{
    VxDbDatabase* db = targetDatabase(database);
    VxDbBlockTableRecord* block = nullptr;
    VxDbObjectId id;
    if (Velt::ErrorStatus es = findXrefBlock(db, name, block, id))
        return es;
    VxDbDatabase* side = vxdbXrefDatabase(id);
    if (!side) {
        if (Velt::ErrorStatus es = vxedXrefReload(name, quiet, db))
            return es;
        side = vxdbXrefDatabase(id);
        if (!side)
            return Velt::eFileNotFound;
    }
    if (!insertBind) {
        // The referenced drawing's records come in under "<name>$<n>$<record>".
        const std::wstring xrefName = block->name();
        for (VxDbObjectId tableId : {side->layerTableId(), side->linetypeTableId(), side->textStyleTableId(),
                                     side->dimStyleTableId()}) {
            auto* table = VxDbSymbolTable::cast(detail::objectOf(tableId));
            auto* destination = VxDbSymbolTable::cast(detail::objectOf(db->tableIdForRecordClass(
                table ? table->recordClass() : nullptr)));
            if (!table || !destination)
                continue;
            for (VxDbObjectId recordId : table->recordIds()) {
                VxDbObjectPointer<VxDbSymbolTableRecord> record(recordId, VxDb::kForWrite);
                if (!record || record->name().empty())
                    continue;
                for (int n = 0; n < 1000; ++n) {
                    const std::wstring bound = xrefName + L"$" + std::to_wstring(n) + L"$" + record->name();
                    if (destination->has(bound.c_str()) || table->has(bound.c_str()))
                        continue;
                    record->setName(bound.c_str());  // built-in records keep their names
                    break;
                }
            }
        }
    }
    VxDbObjectIdArray ids;
    if (auto* space = VxDbBlockTableRecord::cast(detail::objectOf(side->modelSpaceId()))) {
        for (VxDbObjectId entityId : space->entityIds()) {
            if (entityId.isValid() && !entityId.isErased())
                ids.push_back(entityId);
        }
    }
    if (!ids.empty()) {
        VxDbIdMapping map;
        if (Velt::ErrorStatus es = side->wblockCloneObjects(ids, id, map, VxDb::kDrcIgnore))
            return es;
    }
    VxDbObjectPointer<VxDbBlockTableRecord> open(id, VxDb::kForWrite);
    if (!open)
        return open.openStatus();
    open->setPathName(L"");
    open->setIsFromOverlayReference(false);
    open->setIsUnloaded(false);
    setSide(id, nullptr);
    return Velt::eOk;
}

Velt::ErrorStatus vxedXrefDetach(const wchar_t* name, bool, VxDbDatabase* database)
{
    VxDbDatabase* db = targetDatabase(database);
    VxDbBlockTableRecord* block = nullptr;
    VxDbObjectId id;
    if (Velt::ErrorStatus es = findXrefBlock(db, name, block, id))
        return es;
    VxDbObjectIdArray references;
    block->getBlockReferenceIds(references);
    for (VxDbObjectId referenceId : references) {
        VxDbObjectPointer<VxDbEntity> reference(referenceId, VxDb::kForWrite);
        if (!reference)
            return reference.openStatus();
        if (Velt::ErrorStatus es = reference->erase())
            return es;
    }
    VxDbObjectPointer<VxDbBlockTableRecord> open(id, VxDb::kForWrite);
    if (!open)
        return open.openStatus();
    if (Velt::ErrorStatus es = open->erase())
        return es;
    setSide(id, nullptr);
    return Velt::eOk;
}

VxDbDatabase* vxdbXrefDatabase(VxDbObjectId blockId)
{
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    purge(r);
    auto it = r.sides.find(blockId.value());
    return it == r.sides.end() ? nullptr : it->second.get();
}

void vxdbResolveXrefs(VxDbDatabase* database)
{
    if (!database)
        return;
    auto* blocks = VxDbSymbolTable::cast(detail::objectOf(database->blockTableId()));
    if (!blocks)
        return;
    // The drawing itself counts as being loaded, so that a reference back
    // to it is cut.
    const bool nested = tLoading != nullptr;
    const bool top = !nested && !database->filename().empty();
    std::optional<LoadingScope> loading;
    if (top)
        loading.emplace(database->filename());
    const std::vector<VxDbObjectId> ids = blocks->recordIds();
    for (VxDbObjectId id : ids) {
        auto* block = VxDbBlockTableRecord::cast(detail::objectOf(id));
        if (!block || block->isErased() || !block->isFromExternalReference() || block->isUnloaded())
            continue;
        // Overlays of a referenced drawing are not followed.
        if (nested && block->isFromOverlayReference())
            continue;
        std::unique_ptr<VxDbDatabase> side;
        if (vxdbReadSideDatabase(block->pathName().c_str(), side, database) == Velt::eOk)
            setSide(id, std::move(side));
    }
}

}  // namespace kx

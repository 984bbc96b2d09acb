#include "db/clone.h"

#include <algorithm>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/internal.h"
#include "db/symtables.h"

namespace kx {

// ---- mapping ----

void VxDbIdMapping::assign(const VxDbIdPair& pair)
{
    auto it = mIndex.find(pair.key());
    if (it != mIndex.end()) {
        mPairs[it->second] = pair;
        return;
    }
    mIndex.emplace(pair.key(), mPairs.size());
    mPairs.push_back(pair);
}

bool VxDbIdMapping::compute(VxDbIdPair& pair) const
{
    auto it = mIndex.find(pair.key());
    if (it == mIndex.end())
        return false;
    pair = mPairs[it->second];
    return true;
}

bool VxDbIdMapping::del(VxDbObjectId key)
{
    auto it = mIndex.find(key);
    if (it == mIndex.end())
        return false;
    mPairs.erase(mPairs.begin() + ptrdiff_t(it->second));
    mIndex.clear();
    for (size_t i = 0; i < mPairs.size(); ++i)
        mIndex.emplace(mPairs[i].key(), i);
    return true;
}

void VxDbIdMapping::clear()
{
    mPairs.clear();
    mIndex.clear();
}

// ---- the clone engine ----
// 1. Each primary object is copied into its owner, with everything it owns.
// 2. Across databases, the records and objects the copies point to come
//    along too: records by name (the duplicate-record mode deciding what a
//    name the destination has means), dictionary entries by their key path.
// 3. Every reference of the copies that names an original is translated to
//    its copy; across databases one that names nothing copied is cleared.

namespace {

class CloneEngine {
public:
    CloneEngine(VxDbDatabase* source, VxDbDatabase* destination, VxDbIdMapping& map,
                VxDb::DuplicateRecordCloning drc)
        : mSource(source), mDest(destination), mMap(map), mDrc(drc), mCrossDb(source != destination)
    {
    }

    Velt::ErrorStatus run(const VxDbObjectIdArray& ids, VxDbObjectId owner)
    {
        for (VxDbObjectId id : ids) {
            VxDbIdPair pair(id, VxDbObjectId(), false);
            if (mMap.compute(pair))
                continue;
            VxDbObjectId clone;
            Velt::ErrorStatus es = Velt::eOk;
            auto* record = VxDbSymbolTableRecord::cast(detail::objectOf(id));
            if (mCrossDb && record && VxDbSymbolTable::cast(detail::objectOf(owner)))
                es = bringRecord(id, owner, true);
            else
                es = cloneObject(id, owner, true, clone);
            if (es != Velt::eOk)
                return es;
        }
        if (mCrossDb)
            bringReferences();
        translate();
        return Velt::eOk;
    }

private:
    bool mapped(VxDbObjectId id) const
    {
        VxDbIdPair pair(id, VxDbObjectId(), false);
        return mMap.compute(pair);
    }

    // Copies one object under a new owner in the destination, then what it owns.
    Velt::ErrorStatus cloneObject(VxDbObjectId sourceId, VxDbObjectId ownerId, bool primary, VxDbObjectId& cloneId,
                                  const std::wstring* nameOverride = nullptr)
    {
        cloneId = VxDbObjectId();
        VxDbObject* source = detail::objectOf(sourceId);
        if (!source)
            return Velt::eNullObjectPointer;
        if (sourceId.isErased())
            return Velt::eWasErased;
        if (sourceId.database() != mSource)
            return Velt::eWrongDatabase;
        VxDbObject* copy = source->clone();
        if (!copy)
            return Velt::eNotApplicable;
        // The copy belongs to the destination from here on.
        detail::setIntendedDatabase(copy, mDest);
        if (nameOverride) {
            if (auto* record = VxDbSymbolTableRecord::cast(copy))
                record->setName(nameOverride->c_str());
        }
        Velt::ErrorStatus es = attach(source, copy, ownerId, cloneId);
        if (es != Velt::eOk) {
            delete copy;
            return es;
        }
        mMap.assign(VxDbIdPair(sourceId, cloneId, true, primary, true));
        mClones.push_back(copy);
        copy->close();

        // What the original owns comes along: the extension dictionary,
        // block entities, dictionary entries.
        const VxDbObjectId extension = source->extensionDictionary();
        for (VxDbObjectId child : detail::ownedIds(source)) {
            VxDbObject* owned = detail::objectOf(child);
            if (!owned || child.isErased() || owned->ownerId() != sourceId || mapped(child))
                continue;
            VxDbObjectId childClone;
            if (cloneObject(child, cloneId, false, childClone) != Velt::eOk)
                continue;
            if (child == extension) {
                detail::ForcedWrite write(copy);
                copy->setExtensionDictionary(childClone);
            }
        }
        return Velt::eOk;
    }

    // Puts the copy into its owner the way that owner holds things.
    Velt::ErrorStatus attach(VxDbObject* source, VxDbObject* copy, VxDbObjectId ownerId, VxDbObjectId& cloneId)
    {
        VxDbObject* owner = detail::objectOf(ownerId);
        if (!owner || ownerId.database() != mDest)
            return Velt::eInvalidOwner;
        detail::ForcedWrite write(owner);
        if (auto* block = VxDbBlockTableRecord::cast(owner)) {
            auto* entity = VxDbEntity::cast(copy);
            if (!entity)
                return Velt::eInvalidOwner;
            return block->appendVxDbEntity(cloneId, entity);
        }
        if (auto* table = VxDbSymbolTable::cast(owner)) {
            auto* record = VxDbSymbolTableRecord::cast(copy);
            if (!record)
                return Velt::eInvalidOwner;
            // A record's name must stay unique: a copy within one table gets
            // a numbered name.
            if (table->has(record->name().c_str())) {
                std::wstring name;
                for (int n = 1;; ++n) {
                    name = record->name() + L"(" + std::to_wstring(n) + L")";
                    if (!table->has(name.c_str()))
                        break;
                }
                record->setName(name.c_str());
            }
            return table->add(cloneId, record);
        }
        if (auto* dictionary = VxDbDictionary::cast(owner)) {
            std::wstring key = keyOf(source);
            if (key.empty())
                key = L"*";
            else if (dictionary->has(key.c_str())) {
                const std::wstring base = key;
                for (int n = 1; dictionary->has(key.c_str()); ++n)
                    key = base + L"(" + std::to_wstring(n) + L")";
            }
            return dictionary->setAt(key.c_str(), copy, cloneId);
        }
        if (auto* reference = VxDbBlockReference::cast(owner)) {
            auto* entity = VxDbEntity::cast(copy);
            if (!entity)
                return Velt::eInvalidOwner;
            return reference->appendAttribute(cloneId, entity);
        }
        // Anything else owns its copy directly (an extension dictionary).
        if (Velt::ErrorStatus es = mDest->addVxDbObject(cloneId, copy))
            return es;
        return copy->setOwnerId(ownerId);
    }

    static std::wstring keyOf(const VxDbObject* object)
    {
        std::wstring key;
        if (auto* owner = VxDbDictionary::cast(detail::objectOf(object->ownerId())))
            owner->nameAt(object->objectId(), key);
        return key;
    }

    // A record of the source for the destination table of its kind.
    Velt::ErrorStatus bringRecord(VxDbObjectId sourceId, VxDbObjectId tableId, bool primary)
    {
        auto* record = VxDbSymbolTableRecord::cast(detail::objectOf(sourceId));
        auto* table = VxDbSymbolTable::cast(detail::objectOf(tableId));
        if (!record || !table)
            return Velt::eInvalidInput;
        const VxDbObjectId existing = table->getIdAt(record->name().c_str());
        VxDbObjectId clone;
        if (existing.isNull())
            return cloneObject(sourceId, tableId, primary, clone);
        switch (mDrc) {
        case VxDb::kDrcReplace: {
            VxDbObject* target = detail::objectOf(existing);
            detail::ForcedWrite write(target);
            const std::wstring name = VxDbSymbolTableRecord::cast(target)->name();
            target->copyFrom(record);
            detail::forceRename(VxDbSymbolTableRecord::cast(target), name);
            mMap.assign(VxDbIdPair(sourceId, existing, true, primary, true));
            mClones.push_back(target);
            return Velt::eOk;
        }
        case VxDb::kDrcMangleName:
        case VxDb::kDrcXrefMangleName: {
            std::wstring name;
            for (int n = 0;; ++n) {
                name = L"$" + std::to_wstring(n) + L"$" + record->name();
                if (!table->has(name.c_str()))
                    break;
            }
            return cloneObject(sourceId, tableId, primary, clone, &name);
        }
        default:
            // The destination's record stands for the source's.
            mMap.assign(VxDbIdPair(sourceId, existing, false, primary, true));
            return Velt::eOk;
        }
    }

    // The dictionary of the destination at the same key path as the source's.
    VxDbObjectId matchingDictionary(VxDbObjectId sourceDictionary)
    {
        std::vector<std::wstring> path;
        VxDbObjectId current = sourceDictionary;
        while (current != mSource->namedObjectsDictionaryId()) {
            VxDbObject* object = detail::objectOf(current);
            auto* parent = object ? VxDbDictionary::cast(detail::objectOf(object->ownerId())) : nullptr;
            if (!parent)
                return VxDbObjectId();
            std::wstring key;
            if (parent->nameAt(current, key) != Velt::eOk)
                return VxDbObjectId();
            path.push_back(key);
            current = parent->objectId();
        }
        VxDbObjectId target = mDest->namedObjectsDictionaryId();
        for (auto it = path.rbegin(); it != path.rend(); ++it) {
            auto* dictionary = VxDbDictionary::cast(detail::objectOf(target));
            if (!dictionary)
                return VxDbObjectId();
            VxDbObjectId next = dictionary->getIdAt(it->c_str());
            if (next.isNull()) {
                detail::ForcedWrite write(dictionary);
                auto* created = new VxDbDictionary();
                if (dictionary->setAt(it->c_str(), created, next) != Velt::eOk) {
                    delete created;
                    return VxDbObjectId();
                }
                created->close();
            }
            target = next;
        }
        return target;
    }

    // Brings what the copies point to, until nothing new turns up.
    void bringReferences()
    {
        struct Collector : VxDbReferenceVisitor {
            VxDbDatabase* source;
            std::vector<VxDbObjectId> ids;
            void visit(VxDbObjectId& id, VxDb::ReferenceKind kind) override
            {
                if (kind == VxDb::kHardPointerRef && !id.isNull() && id.database() == source)
                    ids.push_back(id);
            }
        };
        for (size_t done = 0; done < mClones.size();) {
            Collector collector;
            collector.source = mSource;
            for (; done < mClones.size(); ++done)
                mClones[done]->visitReferences(collector);
            for (VxDbObjectId id : collector.ids) {
                if (mapped(id) || id.isErased())
                    continue;
                VxDbObject* object = detail::objectOf(id);
                if (!object)
                    continue;
                if (VxDbSymbolTableRecord::cast(object)) {
                    const VxDbObjectId table = mDest->tableIdForRecordClass(object->isA());
                    if (!table.isNull())
                        bringRecord(id, table, false);
                    continue;
                }
                auto* sourceOwner = VxDbDictionary::cast(detail::objectOf(object->ownerId()));
                if (sourceOwner) {
                    const VxDbObjectId target = matchingDictionary(sourceOwner->objectId());
                    auto* dictionary = VxDbDictionary::cast(detail::objectOf(target));
                    if (!dictionary)
                        continue;
                    const VxDbObjectId existing = dictionary->getIdAt(keyOf(object).c_str());
                    if (!existing.isNull()) {
                        mMap.assign(VxDbIdPair(id, existing, false, false, true));
                        continue;
                    }
                    VxDbObjectId clone;
                    cloneObject(id, target, false, clone);
                }
            }
        }
    }

    void translate()
    {
        struct Translator : VxDbReferenceVisitor {
            CloneEngine* engine;
            void visit(VxDbObjectId& id, VxDb::ReferenceKind) override
            {
                if (id.isNull() || id.database() != engine->mSource)
                    return;
                VxDbIdPair pair(id, VxDbObjectId(), false);
                if (engine->mMap.compute(pair))
                    id = pair.value();
                else if (engine->mCrossDb)
                    id = VxDbObjectId();
            }
        } translator;
        translator.engine = this;
        for (VxDbObject* clone : mClones) {
            detail::ForcedWrite write(clone);
            clone->visitReferences(translator);
        }
    }

    VxDbDatabase* mSource;
    VxDbDatabase* mDest;
    VxDbIdMapping& mMap;
    VxDb::DuplicateRecordCloning mDrc;
    bool mCrossDb;
    std::vector<VxDbObject*> mClones;
};

Velt::ErrorStatus checkSources(const VxDbDatabase* db, const VxDbObjectIdArray& ids)
{
    if (ids.empty())
        return Velt::eInvalidInput;
    for (VxDbObjectId id : ids) {
        if (id.isNull())
            return Velt::eNullObjectId;
        if (id.database() != db)
            return Velt::eWrongDatabase;
        if (!id.isValid())
            return Velt::eInvalidInput;
        if (id.isErased())
            return Velt::eWasErased;
    }
    return Velt::eOk;
}

}  // namespace

Velt::ErrorStatus VxDbDatabase::deepCloneObjects(const VxDbObjectIdArray& objectIds, VxDbObjectId owner,
                                                 VxDbIdMapping& idMap, bool)
{
    if (Velt::ErrorStatus es = checkSources(this, objectIds))
        return es;
    if (owner.database() != this)
        return Velt::eWrongDatabase;
    if (!owner.isValid() || owner.isErased())
        return Velt::eInvalidOwner;
    idMap.setOrigDb(this);
    idMap.setDestDb(this);
    idMap.setDuplicateRecordCloning(VxDb::kDrcNotApplicable);
    CloneEngine engine(this, this, idMap, VxDb::kDrcNotApplicable);
    return engine.run(objectIds, owner);
}

Velt::ErrorStatus VxDbDatabase::wblockCloneObjects(const VxDbObjectIdArray& objectIds, VxDbObjectId owner,
                                                   VxDbIdMapping& idMap,
                                                   VxDb::DuplicateRecordCloning duplicateRecordCloning,
                                                   bool deferXlation)
{
    if (owner.database() == this)
        return deepCloneObjects(objectIds, owner, idMap, deferXlation);
    if (Velt::ErrorStatus es = checkSources(this, objectIds))
        return es;
    VxDbDatabase* destination = owner.database();
    if (!destination)
        return Velt::eNoDatabase;
    if (!owner.isValid() || owner.isErased())
        return Velt::eInvalidOwner;
    if (duplicateRecordCloning < VxDb::kDrcNotApplicable || duplicateRecordCloning > VxDb::kDrcUnmangleName)
        return Velt::eInvalidInput;
    idMap.setOrigDb(this);
    idMap.setDestDb(destination);
    idMap.setDuplicateRecordCloning(duplicateRecordCloning);
    CloneEngine engine(this, destination, idMap, duplicateRecordCloning);
    return engine.run(objectIds, owner);
}

Velt::ErrorStatus VxDbDatabase::insert(VxDbObjectId& blockId, const wchar_t* blockName, VxDbDatabase* source, bool)
{
    blockId = VxDbObjectId();
    if (!source)
        return Velt::eNoDatabase;
    if (source == this)
        return Velt::eSelfReference;
    VxDbObjectPointer<VxDbBlockTable> table(mBlockTable, VxDb::kForWrite);
    if (!table)
        return table.openStatus();
    auto* block = new VxDbBlockTableRecord();
    if (Velt::ErrorStatus es = block->setName(blockName ? blockName : L"")) {
        delete block;
        return es;
    }
    if (!block->isValidName(block->name()) || block->isAnonymous()) {
        delete block;
        return Velt::eInvalidSymbolName;
    }
    block->setOrigin(source->insbase());
    block->setBlockInsertUnits(source->insunits());
    if (Velt::ErrorStatus es = table->add(blockId, block)) {
        delete block;
        return es;
    }
    block->close();
    table.close();

    VxDbObjectIdArray ids;
    if (auto* space = VxDbBlockTableRecord::cast(detail::objectOf(source->modelSpaceId()))) {
        for (VxDbObjectId id : space->entityIds()) {
            if (id.isValid() && !id.isErased())
                ids.push_back(id);
        }
    }
    if (ids.empty())
        return Velt::eOk;
    VxDbIdMapping map;
    return source->wblockCloneObjects(ids, blockId, map, VxDb::kDrcIgnore);
}

}  // namespace kx

// Completing a drawing read from a file with what every drawing has.

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/internal.h"
#include "db/layout.h"
#include "db/objects.h"
#include "db/symtables.h"
#include "dxf/dxfinternal.h"

namespace kx {

namespace dxf {

namespace {

template <class T>
VxDbObjectId ensureRecord(VxDbDatabase* db, VxDbObjectId tableId, const wchar_t* name, T* (*make)())
{
    auto* table = VxDbSymbolTable::cast(detail::objectOf(tableId));
    if (!table)
        return VxDbObjectId();
    if (VxDbObjectId id = table->getIdAt(name); !id.isNull())
        return id;
    detail::ForcedWrite write(table);
    T* record = make();
    record->setName(name);
    VxDbObjectId id;
    if (table->add(id, record) != Velt::eOk) {
        delete record;
        return VxDbObjectId();
    }
    record->close();
    return id;
}

VxDbObjectId ensureEntry(VxDbObjectId dictionaryId, const wchar_t* key, VxDbObject* (*make)())
{
    auto* dictionary = VxDbDictionary::cast(detail::objectOf(dictionaryId));
    if (!dictionary)
        return VxDbObjectId();
    if (VxDbObjectId id = dictionary->getIdAt(key); !id.isNull())
        return id;
    detail::ForcedWrite write(dictionary);
    VxDbObject* object = make();
    if (auto* named = VxDbNamedObject::cast(object))
        named->setName(key);
    VxDbObjectId id;
    if (dictionary->setAt(key, object, id) != Velt::eOk) {
        delete object;
        return VxDbObjectId();
    }
    object->close();
    return id;
}

template <class T>
T* makeNew()
{
    return new T();
}

VxDbObject* makeDictionary() { return new VxDbDictionary(); }

}  // namespace

// Gives a drawing read from a file whatever a drawing must have and the
// file lacked: tables, standard records, dictionaries, layouts, and the
// header's current records.
void completeDrawing(VxDbDatabase* db)
{
    // Every table is there (the reader made missing ones). The root dictionary:
    if (!VxDbDictionary::cast(detail::objectOf(db->namedObjectsDictionaryId()))) {
        auto* root = new VxDbDictionary();
        VxDbObjectId id;
        if (db->addVxDbObject(id, root) == Velt::eOk) {
            root->close();
            db->setRootObject(id);
        } else {
            delete root;
        }
    }
    const VxDbObjectId nod = db->namedObjectsDictionaryId();
    const wchar_t* const kDictionaries[] = {L"ACAD_GROUP", L"ACAD_LAYOUT", L"ACAD_PLOTSETTINGS",
                                            L"ACAD_PLOTSTYLENAME", L"ACAD_MATERIAL", L"ACAD_MLINESTYLE",
                                            L"ACAD_TABLESTYLE", L"ACAD_MLEADERSTYLE", L"ACAD_IMAGE_DICT"};
    for (const wchar_t* key : kDictionaries)
        ensureEntry(nod, key, &makeDictionary);

    ensureEntry(db->plotStyleNameDictionaryId(), L"Normal", [] { return static_cast<VxDbObject*>(new VxDbPlaceHolder()); });
    ensureEntry(db->materialDictionaryId(), L"ByBlock", [] { return static_cast<VxDbObject*>(new VxDbMaterial()); });
    ensureEntry(db->materialDictionaryId(), L"ByLayer", [] { return static_cast<VxDbObject*>(new VxDbMaterial()); });
    const VxDbObjectId global =
        ensureEntry(db->materialDictionaryId(), L"Global", [] { return static_cast<VxDbObject*>(new VxDbMaterial()); });
    ensureEntry(db->tableStyleDictionaryId(), L"Standard", [] { return static_cast<VxDbObject*>(new VxDbTableStyle()); });
    ensureEntry(db->mleaderStyleDictionaryId(), L"Standard",
                [] { return static_cast<VxDbObject*>(new VxDbMLeaderStyle()); });

    ensureRecord<VxDbLinetypeTableRecord>(db, db->linetypeTableId(), L"ByBlock", &makeNew<VxDbLinetypeTableRecord>);
    const VxDbObjectId byLayer =
        ensureRecord<VxDbLinetypeTableRecord>(db, db->linetypeTableId(), L"ByLayer", &makeNew<VxDbLinetypeTableRecord>);
    const VxDbObjectId continuous = ensureRecord<VxDbLinetypeTableRecord>(db, db->linetypeTableId(), L"Continuous",
                                                                          &makeNew<VxDbLinetypeTableRecord>);
    if (VxDbObjectId mline = db->mLStyleDictionaryId(); !mline.isNull()) {
        auto* dictionary = VxDbDictionary::cast(detail::objectOf(mline));
        if (dictionary && !dictionary->has(L"Standard")) {
            const VxDbObjectId id = ensureEntry(mline, L"Standard", [] { return static_cast<VxDbObject*>(new VxDbMlineStyle()); });
            if (auto* style = VxDbMlineStyle::cast(detail::objectOf(id))) {
                detail::ForcedWrite write(style);
                style->addElement(0.5, VxCmColor::fromIndex(256), byLayer);
                style->addElement(-0.5, VxCmColor::fromIndex(256), byLayer);
            }
        }
    }
    ensureRecord<VxDbRegAppTableRecord>(db, db->regAppTableId(), L"ACAD", &makeNew<VxDbRegAppTableRecord>);
    const VxDbObjectId standardStyle =
        ensureRecord<VxDbTextStyleTableRecord>(db, db->textStyleTableId(), L"Standard", &makeNew<VxDbTextStyleTableRecord>);
    const VxDbObjectId standardDim =
        ensureRecord<VxDbDimStyleTableRecord>(db, db->dimStyleTableId(), L"Standard", &makeNew<VxDbDimStyleTableRecord>);
    if (auto* dim = VxDbDimStyleTableRecord::cast(detail::objectOf(standardDim)); dim && dim->dimtxsty().isNull()) {
        detail::ForcedWrite write(dim);
        dim->setDimId(VxDbDimVar::kDimTxSty, standardStyle);
    }
    if (auto* vports = VxDbSymbolTable::cast(detail::objectOf(db->viewportTableId())); vports && !vports->has(L"*Active")) {
        const VxDbObjectId id =
            ensureRecord<VxDbViewportTableRecord>(db, db->viewportTableId(), L"*Active", &makeNew<VxDbViewportTableRecord>);
        if (auto* active = VxDbViewportTableRecord::cast(detail::objectOf(id))) {
            detail::ForcedWrite write(active);
            active->setCenterPoint(VxGePoint2d{6.0, 4.5});
            active->setHeight(9.0);
            active->setWidth(12.0);
        }
    }
    const bool hadZero = !db->layerId(L"0").isNull();
    const VxDbObjectId zero = ensureRecord<VxDbLayerTableRecord>(db, db->layerTableId(), L"0", &makeNew<VxDbLayerTableRecord>);
    if (auto* layer = VxDbLayerTableRecord::cast(detail::objectOf(zero))) {
        detail::ForcedWrite write(layer);
        if (!hadZero)
            layer->setColorIndex(7);
        if (layer->linetypeObjectId().isNull())
            layer->setLinetypeObjectId(continuous);
        if (layer->materialId().isNull() && !global.isNull())
            layer->setMaterialId(global);
    }
    // Every other layer needs a linetype too.
    if (auto* layers = VxDbSymbolTable::cast(detail::objectOf(db->layerTableId()))) {
        for (VxDbObjectId id : layers->recordIds()) {
            auto* layer = VxDbLayerTableRecord::cast(detail::objectOf(id));
            if (layer && layer->linetypeObjectId().isNull()) {
                detail::ForcedWrite write(layer);
                layer->setLinetypeObjectId(continuous);
            }
        }
    }
    const VxDbObjectId modelSpace = ensureRecord<VxDbBlockTableRecord>(
        db, db->blockTableId(), VxDbBlockTableRecord::kModelSpaceName, &makeNew<VxDbBlockTableRecord>);
    const VxDbObjectId paperSpace = ensureRecord<VxDbBlockTableRecord>(
        db, db->blockTableId(), VxDbBlockTableRecord::kPaperSpaceName, &makeNew<VxDbBlockTableRecord>);

    // Layouts for the two spaces when they have none.
    const VxDbObjectId layouts = db->layoutDictionaryId();
    auto hasLayout = [](VxDbObjectId blockId) {
        auto* block = VxDbBlockTableRecord::cast(detail::objectOf(blockId));
        if (!block)
            return true;
        auto* layout = VxDbLayout::cast(detail::objectOf(block->getLayoutId()));
        return layout && !layout->isErased() && layout->getBlockTableRecordId() == blockId;
    };
    auto makeLayout = [&](VxDbObjectId blockId, const wchar_t* baseName, bool model) {
        auto* dictionary = VxDbDictionary::cast(detail::objectOf(layouts));
        if (!dictionary)
            return;
        std::wstring name = baseName;
        for (int n = 1; dictionary->has(name.c_str()); ++n)
            name = std::wstring(baseName) + std::to_wstring(n);
        auto* layout = new VxDbLayout();
        layout->setLayoutName(name.c_str());
        layout->setTabOrder(model ? 0 : int(dictionary->numEntries()));
        layout->setModelType(model);
        layout->setTabSelected(model);
        VxDbObjectId id;
        detail::ForcedWrite write(dictionary);
        if (dictionary->setAt(name.c_str(), layout, id) != Velt::eOk) {
            delete layout;
            return;
        }
        layout->setBlockTableRecordId(blockId);
        layout->close();
        if (auto* block = VxDbBlockTableRecord::cast(detail::objectOf(blockId))) {
            detail::ForcedWrite blockWrite(block);
            block->setLayoutId(id);
        }
    };
    if (!hasLayout(modelSpace))
        makeLayout(modelSpace, L"Model", true);
    if (!hasLayout(paperSpace))
        makeLayout(paperSpace, L"Layout1", false);

    // The well-known records are looked up again now that they exist.
    for (VxDbObjectId table : {db->layerTableId(), db->linetypeTableId()})
        db->setRootObject(table);

    // The header's current records.
    if (db->clayer().isNull() || !db->clayer().isValid())
        db->setClayer(zero);
    if (db->celtype().isNull() || !db->celtype().isValid())
        db->setCeltype(byLayer);
    if (db->textstyle().isNull() || !db->textstyle().isValid())
        db->setTextstyle(standardStyle);
    if (db->dimstyle().isNull() || !db->dimstyle().isValid())
        db->setDimstyle(standardDim);
    auto standardIn = [](VxDbObjectId dictionaryId) {
        auto* dictionary = VxDbDictionary::cast(detail::objectOf(dictionaryId));
        return dictionary ? dictionary->getIdAt(L"Standard") : VxDbObjectId();
    };
    if (db->cmlstyleID().isNull())
        db->setCmlstyleID(standardIn(db->mLStyleDictionaryId()));
    if (db->tablestyle().isNull())
        db->setTablestyle(standardIn(db->tableStyleDictionaryId()));
    if (db->mleaderstyle().isNull())
        db->setMLeaderstyle(standardIn(db->mleaderStyleDictionaryId()));
}

}  // namespace dxf


}  // namespace kx

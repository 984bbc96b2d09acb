#include "db/layerstates.h"

#include <fstream>
#include <memory>
#include <sstream>

#include "db/database.h"
#include "db/dictionary.h"
#include "db/objects.h"
#include "db/resbuf.h"
#include "db/strings.h"
#include "db/symtables.h"

namespace kx {
namespace {

constexpr const wchar_t* kStates = L"ACAD_LAYERSTATES";

enum LayerFlags : int32_t { kOff = 1, kFrozen = 2, kLocked = 4, kPlotted = 8, kNewViewportFrozen = 16 };

// The dictionary of the states, made with the layer table's extension dictionary when
// `create` is true.
Velt::ErrorStatus statesOf(VxDbDatabase* db, VxDbObjectId& statesId, bool create)
{
    if (!db)
        return Velt::eNullObjectPointer;
    VxDbObjectPointer<VxDbLayerTable> layers(db->layerTableId(), create ? VxDb::kForWrite : VxDb::kForRead);
    if (!layers)
        return layers.openStatus();
    if (layers->extensionDictionary().isNull()) {
        if (!create)
            return Velt::eKeyNotFound;
        if (Velt::ErrorStatus es = layers->createExtensionDictionary())
            return es;
    }
    VxDbObjectPointer<VxDbDictionary> extension(layers->extensionDictionary(),
                                                create ? VxDb::kForWrite : VxDb::kForRead);
    if (!extension)
        return extension.openStatus();
    if (extension->getAt(kStates, statesId) == Velt::eOk)
        return Velt::eOk;
    if (!create)
        return Velt::eKeyNotFound;
    auto states = std::make_unique<VxDbDictionary>();
    if (Velt::ErrorStatus es = extension->setAt(kStates, states.get(), statesId))
        return es;
    states.release()->close();
    return Velt::eOk;
}

Velt::ErrorStatus stateOf(VxDbDatabase* db, const wchar_t* name, VxDbObjectId& stateId)
{
    if (!name || !*name)
        return Velt::eInvalidInput;
    VxDbObjectId statesId;
    if (Velt::ErrorStatus es = statesOf(db, statesId, false))
        return es;
    VxDbObjectPointer<VxDbDictionary> states(statesId, VxDb::kForRead);
    if (!states)
        return states.openStatus();
    return states->getAt(name, stateId);
}

// The layers' properties now, as a state's items.
VxResBufPtr describeLayers(VxDbDatabase& db, uint32_t mask)
{
    VxResBuf* head = vxutNewInt32(91, int32_t(mask));
    VxResBuf* tail = head;
    auto add = [&](VxResBuf* rb) {
        tail->rbnext = rb;
        tail = rb;
    };
    VxDbObjectPointer<VxDbLayerTable> layers(db.layerTableId(), VxDb::kForRead);
    std::unique_ptr<VxDbSymbolTableIterator> it;
    if (layers && layers->newIterator(it) == Velt::eOk && it) {
        for (; !it->done(); it->step()) {
            VxDbObjectPointer<VxDbLayerTableRecord> layer(it->currentId(), VxDb::kForRead);
            if (!layer)
                continue;
            const int32_t flags = (layer->isOff() ? kOff : 0) | (layer->isFrozen() ? kFrozen : 0) |
                                  (layer->isLocked() ? kLocked : 0) | (layer->isPlottable() ? kPlotted : 0) |
                                  (layer->VPDFLT() ? kNewViewportFrozen : 0);
            // A layer without a linetype draws continuous lines.
            std::wstring linetype = L"Continuous";
            if (VxDbObjectPointer<VxDbLinetypeTableRecord> lt(layer->linetypeObjectId(), VxDb::kForRead); lt)
                linetype = lt->name();
            add(vxutNewString(8, layer->name()));
            add(vxutNewInt32(90, flags));
            add(vxutNewInt16(62, layer->colorIndex()));
            add(vxutNewInt32(420, int32_t(layer->color().color())));
            add(vxutNewString(6, linetype));
            add(vxutNewInt16(370, int16_t(layer->lineWeight())));
            add(vxutNewString(1, layer->plotStyleName()));
        }
    }
    return VxResBufPtr(head);
}

struct SavedLayer {
    std::wstring name, linetype, plotStyle;
    int32_t flags = 0, packedColor = 0;
    int16_t lineWeight = 0;
};

// A state's mask and layers; eInvalidInput for items of another shape.
Velt::ErrorStatus readState(const VxResBuf* rb, uint32_t& mask, std::vector<SavedLayer>* layers)
{
    if (!rb || rb->restype != 91)
        return Velt::eInvalidInput;
    mask = uint32_t(rb->resval.rlong);
    for (rb = rb->rbnext; rb; rb = rb->rbnext) {
        if (rb->restype == 8) {
            if (layers) {
                layers->emplace_back();
                layers->back().name = rb->resval.rstring ? rb->resval.rstring : L"";
            }
            continue;
        }
        if (!layers)
            continue;
        if (layers->empty())
            return Velt::eInvalidInput;
        SavedLayer& layer = layers->back();
        switch (rb->restype) {
        case 90: layer.flags = rb->resval.rlong; break;
        case 420: layer.packedColor = rb->resval.rlong; break;
        case 6: layer.linetype = rb->resval.rstring ? rb->resval.rstring : L""; break;
        case 370: layer.lineWeight = rb->resval.rint; break;
        case 1: layer.plotStyle = rb->resval.rstring ? rb->resval.rstring : L""; break;
        default: break;
        }
    }
    return Velt::eOk;
}

Velt::ErrorStatus store(VxDbDatabase* db, const wchar_t* name, const VxResBuf* items)
{
    if (!name || !*name)
        return Velt::eInvalidInput;
    VxDbObjectId statesId;
    if (Velt::ErrorStatus es = statesOf(db, statesId, true))
        return es;
    VxDbObjectPointer<VxDbDictionary> states(statesId, VxDb::kForWrite);
    if (!states)
        return states.openStatus();
    if (states->has(name))
        return Velt::eDuplicateKey;
    auto record = std::make_unique<VxDbXrecord>();
    if (Velt::ErrorStatus es = record->setFromRbChain(items))
        return es;
    VxDbObjectId id;
    if (Velt::ErrorStatus es = states->setAt(name, record.get(), id))
        return es;
    record.release()->close();
    return Velt::eOk;
}

}  // namespace

Velt::ErrorStatus vxdbSaveLayerState(VxDbDatabase* db, const wchar_t* name, uint32_t mask)
{
    if (!db)
        return Velt::eNullObjectPointer;
    VxResBufPtr items = describeLayers(*db, mask);
    return store(db, name, items.get());
}

Velt::ErrorStatus vxdbRestoreLayerState(VxDbDatabase* db, const wchar_t* name)
{
    VxDbObjectId stateId;
    if (Velt::ErrorStatus es = stateOf(db, name, stateId))
        return es;
    uint32_t mask = 0;
    std::vector<SavedLayer> saved;
    {
        VxDbObjectPointer<VxDbXrecord> state(stateId, VxDb::kForRead);
        if (!state)
            return state.openStatus();
        if (Velt::ErrorStatus es = readState(state->data(), mask, &saved))
            return es;
    }
    for (const SavedLayer& s : saved) {
        const VxDbObjectId layerId = db->layerId(s.name.c_str());
        if (layerId.isNull())
            continue;
        VxDbObjectPointer<VxDbLayerTableRecord> layer(layerId, VxDb::kForWrite);
        if (!layer)
            continue;
        if (mask & kLsOn)
            layer->setIsOff((s.flags & kOff) != 0);
        // The current layer cannot be frozen: it stays thawed.
        if (mask & kLsFrozen)
            layer->setIsFrozen((s.flags & kFrozen) != 0);
        if (mask & kLsLocked)
            layer->setIsLocked((s.flags & kLocked) != 0);
        if (mask & kLsPlot)
            layer->setIsPlottable((s.flags & kPlotted) != 0);
        if (mask & kLsNewViewport)
            layer->setVPDFLT((s.flags & kNewViewportFrozen) != 0);
        if (mask & kLsColor) {
            VxCmColor color;
            if (color.setColor(uint32_t(s.packedColor)) == Velt::eOk)
                layer->setColor(color);
        }
        if (mask & kLsLinetype) {
            const VxDbObjectId linetype = db->linetypeId(s.linetype.c_str());
            if (!linetype.isNull())
                layer->setLinetypeObjectId(linetype);
        }
        if (mask & kLsLineWeight)
            layer->setLineWeight(VxDb::LineWeight(s.lineWeight));
        if (mask & kLsPlotStyle)
            layer->setPlotStyleName(s.plotStyle.c_str());
    }
    return Velt::eOk;
}

Velt::ErrorStatus vxdbLayerStateMask(VxDbDatabase* db, const wchar_t* name, uint32_t& mask)
{
    mask = 0;
    VxDbObjectId stateId;
    if (Velt::ErrorStatus es = stateOf(db, name, stateId))
        return es;
    VxDbObjectPointer<VxDbXrecord> state(stateId, VxDb::kForRead);
    if (!state)
        return state.openStatus();
    return readState(state->data(), mask, nullptr);
}

Velt::ErrorStatus vxdbSetLayerStateMask(VxDbDatabase* db, const wchar_t* name, uint32_t mask)
{
    VxDbObjectId stateId;
    if (Velt::ErrorStatus es = stateOf(db, name, stateId))
        return es;
    VxDbObjectPointer<VxDbXrecord> state(stateId, VxDb::kForWrite);
    if (!state)
        return state.openStatus();
    uint32_t old = 0;
    if (Velt::ErrorStatus es = readState(state->data(), old, nullptr))
        return es;
    VxResBufPtr items(vxutDupRb(state->data()));
    items->resval.rlong = int32_t(mask);
    return state->setFromRbChain(items.get());
}

Velt::ErrorStatus vxdbDeleteLayerState(VxDbDatabase* db, const wchar_t* name)
{
    VxDbObjectId stateId;
    if (Velt::ErrorStatus es = stateOf(db, name, stateId))
        return es;
    VxDbObjectId statesId;
    if (Velt::ErrorStatus es = statesOf(db, statesId, false))
        return es;
    VxDbObjectPointer<VxDbXrecord> state(stateId, VxDb::kForWrite);
    if (!state)
        return state.openStatus();
    // The key goes with the record.
    VxDbObjectPointer<VxDbDictionary> states(statesId, VxDb::kForWrite);
    if (!states)
        return states.openStatus();
    if (Velt::ErrorStatus es = states->remove(stateId))
        return es;
    return state->erase();
}

Velt::ErrorStatus vxdbRenameLayerState(VxDbDatabase* db, const wchar_t* oldName, const wchar_t* newName)
{
    VxDbObjectId stateId;
    if (Velt::ErrorStatus es = stateOf(db, oldName, stateId))
        return es;
    if (!newName || !*newName)
        return Velt::eInvalidInput;
    VxDbObjectId statesId;
    if (Velt::ErrorStatus es = statesOf(db, statesId, false))
        return es;
    VxDbObjectPointer<VxDbDictionary> states(statesId, VxDb::kForWrite);
    if (!states)
        return states.openStatus();
    VxDbObjectId taken;
    if (states->getAt(newName, taken) == Velt::eOk && taken != stateId)
        return Velt::eDuplicateKey;
    return states->setName(oldName, newName);
}

std::vector<std::wstring> vxdbLayerStateNames(VxDbDatabase* db)
{
    std::vector<std::wstring> names;
    VxDbObjectId statesId;
    if (statesOf(db, statesId, false) != Velt::eOk)
        return names;
    VxDbObjectPointer<VxDbDictionary> states(statesId, VxDb::kForRead);
    std::unique_ptr<VxDbDictionaryIterator> it;
    if (!states || states->newIterator(it) != Velt::eOk)
        return names;
    for (; !it->done(); it->next())
        names.push_back(it->name());
    return names;
}

Velt::ErrorStatus vxdbExportLayerState(VxDbDatabase* db, const wchar_t* name, const wchar_t* fileName)
{
    VxDbObjectId stateId;
    if (Velt::ErrorStatus es = stateOf(db, name, stateId))
        return es;
    std::ostringstream text;
    {
        VxDbObjectPointer<VxDbXrecord> state(stateId, VxDb::kForRead);
        if (!state)
            return state.openStatus();
        text << "0\nLAYERSTATE\n1\n" << vxToUtf8(name) << "\n";
        for (const VxResBuf* rb = state->data(); rb; rb = rb->rbnext) {
            text << rb->restype << "\n";
            switch (vxutStorageOf(rb->restype)) {
            case VxRbStorage::kString: text << vxToUtf8(rb->resval.rstring ? rb->resval.rstring : L""); break;
            case VxRbStorage::kInt16: text << rb->resval.rint; break;
            case VxRbStorage::kInt32: text << rb->resval.rlong; break;
            default: return Velt::eInvalidInput;
            }
            text << "\n";
        }
    }
    text << "0\nEOF\n";
    std::ofstream out(vxToPath(fileName ? fileName : L""), std::ios::binary);
    if (!out)
        return Velt::eFileAccessErr;
    out << text.str();
    return out ? Velt::eOk : Velt::eFileAccessErr;
}

Velt::ErrorStatus vxdbImportLayerStates(VxDbDatabase* db, const wchar_t* fileName)
{
    if (!db)
        return Velt::eNullObjectPointer;
    std::ifstream in(vxToPath(fileName ? fileName : L""), std::ios::binary);
    if (!in)
        return Velt::eFileNotFound;
    // Read whole first: a file that is not all well formed adds nothing.
    struct State {
        std::wstring name;
        VxResBufPtr items;
        VxResBuf* tail = nullptr;
    };
    std::vector<State> states;
    std::string codeLine, value;
    bool ended = false;
    while (std::getline(in, codeLine)) {
        if (!codeLine.empty() && codeLine.back() == '\r')
            codeLine.pop_back();
        if (!std::getline(in, value))
            return Velt::eInvalidInput;
        if (!value.empty() && value.back() == '\r')
            value.pop_back();
        int code = 0;
        try {
            size_t used = 0;
            code = std::stoi(codeLine, &used);
            if (used != codeLine.size())
                return Velt::eInvalidInput;
        } catch (...) {
            return Velt::eInvalidInput;
        }
        if (code == 0) {
            if (value == "EOF") {
                ended = true;
                break;
            }
            if (value != "LAYERSTATE")
                return Velt::eInvalidInput;
            states.push_back({});
            continue;
        }
        if (states.empty())
            return Velt::eInvalidInput;
        State& state = states.back();
        if (code == 1 && state.name.empty() && !state.items) {
            state.name = vxFromUtf8(value);
            continue;
        }
        VxResBuf* rb = nullptr;
        try {
            switch (code) {
            case 8: case 6: case 1: rb = vxutNewString(code, vxFromUtf8(value)); break;
            case 62: case 370: rb = vxutNewInt16(code, int16_t(std::stoi(value))); break;
            case 90: case 91: case 420: rb = vxutNewInt32(code, int32_t(std::stol(value))); break;
            default: return Velt::eInvalidInput;
            }
        } catch (...) {
            return Velt::eInvalidInput;
        }
        if (state.tail)
            state.tail->rbnext = rb;
        else
            state.items.reset(rb);
        state.tail = rb;
    }
    if (!ended || states.empty())
        return Velt::eInvalidInput;
    for (const State& state : states) {
        uint32_t mask = 0;
        if (state.name.empty() || readState(state.items.get(), mask, nullptr) != Velt::eOk)
            return Velt::eInvalidInput;
    }
    const std::vector<std::wstring> existing = vxdbLayerStateNames(db);
    for (const State& state : states) {
        bool taken = false;
        for (const std::wstring& name : existing)
            taken = taken || vxEqualNoCase(name.c_str(), state.name.c_str());
        if (taken)
            continue;
        if (Velt::ErrorStatus es = store(db, state.name.c_str(), state.items.get()))
            return es;
    }
    return Velt::eOk;
}

}  // namespace kx

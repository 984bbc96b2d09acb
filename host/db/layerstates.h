#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "db/status.h"

namespace kx {

class VxDbDatabase;

// What a layer state restores.
enum VxDbLayerStateMask : uint32_t {
    kLsNone = 0,
    kLsOn = 1,
    kLsFrozen = 2,
    kLsLocked = 4,
    kLsPlot = 8,
    kLsNewViewport = 16,
    kLsColor = 32,
    kLsLinetype = 64,
    kLsLineWeight = 128,
    kLsPlotStyle = 256,
    kLsAll = 0xFFFF,
};

// Named layer states: the properties of every layer at the time of saving. Each is an
// extended record under its name in the dictionary "ACAD_LAYERSTATES" of the layer table's
// extension dictionary, so drawing files carry them: the mask (91), then per layer its name
// (8), flags (90: off 1, frozen 2, locked 4, plotted 8, frozen in new viewports 16), colour
// (62 index, 420 packed), linetype name (6), line weight (370) and plot style name (1).
// Names compare without regard to case. A missing state is eKeyNotFound; a name that is
// taken, eDuplicateKey; an empty name, eInvalidInput.
Velt::ErrorStatus vxdbSaveLayerState(VxDbDatabase* db, const wchar_t* name, uint32_t mask);
// Layers of the state that the drawing has get the masked properties back; others stay.
Velt::ErrorStatus vxdbRestoreLayerState(VxDbDatabase* db, const wchar_t* name);
Velt::ErrorStatus vxdbLayerStateMask(VxDbDatabase* db, const wchar_t* name, uint32_t& mask);
Velt::ErrorStatus vxdbSetLayerStateMask(VxDbDatabase* db, const wchar_t* name, uint32_t mask);
Velt::ErrorStatus vxdbDeleteLayerState(VxDbDatabase* db, const wchar_t* name);
Velt::ErrorStatus vxdbRenameLayerState(VxDbDatabase* db, const wchar_t* oldName, const wchar_t* newName);
std::vector<std::wstring> vxdbLayerStateNames(VxDbDatabase* db);

// A layer-state file: text of group-code and value lines ("LAYERSTATE", its name, then the
// record's items). Export writes one state; import adds every state of the file whose name
// the drawing does not have yet (eInvalidInput for a file that is no such text, eFileNotFound
// when it cannot be read, nothing added then).
Velt::ErrorStatus vxdbExportLayerState(VxDbDatabase* db, const wchar_t* name, const wchar_t* fileName);
Velt::ErrorStatus vxdbImportLayerStates(VxDbDatabase* db, const wchar_t* fileName);

}  // namespace kx

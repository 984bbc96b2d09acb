#pragma once

// Drawing files as blocks and as external references. An external
// reference is a block record that names a drawing file; the drawing is held
// as a side database while the reference is loaded, and its contents are
// never written into the referring drawing.

#include <memory>

#include "db/objectid.h"
#include "db/status.h"
#include "ge/point.h"

namespace kx {

class VxDbDatabase;

// Reads a drawing file, found with the host's file search, into a new side
// database.
Velt::ErrorStatus vxdbReadSideDatabase(const wchar_t* fileName, std::unique_ptr<VxDbDatabase>& side,
                                       VxDbDatabase* lookupFrom = nullptr);

// Makes a block named blockName of a drawing file's model space
// (VxDbDatabase::insert on a side database).
Velt::ErrorStatus vxdbInsertDrawingFile(VxDbDatabase* database, const wchar_t* blockName, const wchar_t* fileName,
                                        VxDbObjectId& blockId);

// Attaches (or overlays) a drawing file under a block name and inserts a
// reference to it into the given block (null: the current space). Fails
// with eDuplicateRecordName for a name in use, eFileNotFound or a read
// status for a file that will not load; the database is then unchanged.
Velt::ErrorStatus vxedXrefAttach(const wchar_t* path, const wchar_t* name, VxDbObjectId blockId,
                                 VxDbObjectId& referenceId, const VxGePoint3d& position, const VxGeVector3d& scale,
                                 double rotation, bool quiet = true, VxDbDatabase* database = nullptr,
                                 const wchar_t* password = nullptr);
Velt::ErrorStatus vxedXrefOverlay(const wchar_t* path, const wchar_t* name, VxDbObjectId blockId,
                                  VxDbObjectId& referenceId, const VxGePoint3d& position, const VxGeVector3d& scale,
                                  double rotation, bool quiet = true, VxDbDatabase* database = nullptr,
                                  const wchar_t* password = nullptr);
// Reads the referenced drawing again (and loads one that was unloaded).
Velt::ErrorStatus vxedXrefReload(const wchar_t* name, bool quiet = true, VxDbDatabase* database = nullptr);
// Drops the side database but keeps the reference.
Velt::ErrorStatus vxedXrefUnload(const wchar_t* name, bool quiet = true, VxDbDatabase* database = nullptr);
// Makes the reference an ordinary block with the referenced drawing's
// entities. With insertBind the referenced drawing's layers, linetypes and
// styles merge with this drawing's of the same name; otherwise they come in
// as "<name>$0$<record>".
Velt::ErrorStatus vxedXrefBind(const wchar_t* name, bool insertBind, bool quiet = true,
                               VxDbDatabase* database = nullptr);
// Removes the reference, its insertions and its side database.
Velt::ErrorStatus vxedXrefDetach(const wchar_t* name, bool quiet = true, VxDbDatabase* database = nullptr);

// The side database of a loaded external reference's block record; null
// for other blocks and for references that are not loaded.
VxDbDatabase* vxdbXrefDatabase(VxDbObjectId blockId);

// Loads every external reference of a database that was just read; a
// reference whose drawing will not load stays unloaded. Nesting is followed
// a few levels deep, and a cycle is cut where it closes.
void vxdbResolveXrefs(VxDbDatabase* database);

}  // namespace kx

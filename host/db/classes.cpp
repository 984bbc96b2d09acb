// Every runtime class of the host, so that the class dictionary knows them
// all from the first look-up on.

#include "db/arctext.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/group.h"
#include "db/hatch.h"
#include "db/layout.h"
#include "db/objects.h"
#include "db/polylines.h"
#include "db/sortents.h"
#include "db/symtables.h"
#include "db/viewport.h"

namespace kx::detail {

void registerHostClasses()
{
    const VxRxClass* const classes[] = {
        VxDbDatabase::desc(),
        VxDbObject::desc(),
        VxDbSymbolTable::desc(),
        VxDbSymbolTableRecord::desc(),
        VxDbBlockTable::desc(),
        VxDbBlockTableRecord::desc(),
        VxDbLayerTable::desc(),
        VxDbLayerTableRecord::desc(),
        VxDbLinetypeTable::desc(),
        VxDbLinetypeTableRecord::desc(),
        VxDbTextStyleTable::desc(),
        VxDbTextStyleTableRecord::desc(),
        VxDbDimStyleTable::desc(),
        VxDbDimStyleTableRecord::desc(),
        VxDbUCSTable::desc(),
        VxDbUCSTableRecord::desc(),
        VxDbAbstractViewTableRecord::desc(),
        VxDbViewTable::desc(),
        VxDbViewTableRecord::desc(),
        VxDbViewportTable::desc(),
        VxDbViewportTableRecord::desc(),
        VxDbRegAppTable::desc(),
        VxDbRegAppTableRecord::desc(),
        VxDbDictionary::desc(),
        VxDbXrecord::desc(),
        VxDbPlaceHolder::desc(),
        VxDbNamedObject::desc(),
        VxDbMaterial::desc(),
        VxDbMlineStyle::desc(),
        VxDbTableStyle::desc(),
        VxDbMLeaderStyle::desc(),
        VxDbGroup::desc(),
        VxDbSortentsTable::desc(),
        VxDbPlotSettings::desc(),
        VxDbLayout::desc(),
        VxDbEntity::desc(),
        VxDbCurve::desc(),
        VxDbLine::desc(),
        VxDbCircle::desc(),
        VxDbArc::desc(),
        VxDbEllipse::desc(),
        VxDbPoint::desc(),
        VxDbLinearBase::desc(),
        VxDbRay::desc(),
        VxDbXline::desc(),
        VxDbFace::desc(),
        VxDbQuadBase::desc(),
        VxDbSolid::desc(),
        VxDbTrace::desc(),
        VxDbPolyline::desc(),
        VxDbVertex::desc(),
        VxDb2dVertex::desc(),
        VxDb2dPolyline::desc(),
        VxDb3dPolylineVertex::desc(),
        VxDb3dPolyline::desc(),
        VxDbPolygonMeshVertex::desc(),
        VxDbPolygonMesh::desc(),
        VxDbPolyFaceMeshVertex::desc(),
        VxDbFaceRecord::desc(),
        VxDbPolyFaceMesh::desc(),
        VxDbHatch::desc(),
        VxDbBlockReference::desc(),
        VxDbMInsertBlock::desc(),
        VxDbText::desc(),
        VxDbAttributeDefinition::desc(),
        VxDbAttribute::desc(),
        VxDbMText::desc(),
        VxDbShape::desc(),
        VxDbFcf::desc(),
        VxDbArcAlignedText::desc(),
        VxDbViewport::desc(),
    };
    (void)classes;
}

}  // namespace kx::detail

#pragma once

// Dimension variables an entity overrides from its dimension style, kept where drawing files
// keep them: the extended data of "ACAD", the string "DSTYLE", then between braces a 1070
// group code followed by its value for each variable (1070 a whole number, 1040 a real,
// 1000 a string, 1005 the handle of a record). Other data of "ACAD" stays as it is.

#include <string>

#include "db/object.h"
#include "db/symtables.h"

namespace kx {

// The value of one variable: a number (whole numbers too), a string or a record.
struct VxDbDimValue {
    double number = 0.0;
    std::wstring text;
    VxDbObjectId id;
};

// The entity's override of var; false when it has none, or one that does not fit the
// variable (a handle that names no record of the drawing, a value of another kind).
bool vxdbGetDimOverride(const VxDbObject* object, VxDbDimVar var, VxDbDimValue& value);

// Sets or replaces the override after the checks a dimension style makes of the value
// (a record must be a live one of the entity's drawing); needs write.
Velt::ErrorStatus vxdbSetDimOverride(VxDbObject* object, VxDbDimVar var, const VxDbDimValue& value);

// Removes the override of var; eOk when there was none.
Velt::ErrorStatus vxdbRemoveDimOverride(VxDbObject* object, VxDbDimVar var);

// The value in effect: the override, else the value of the style named (the drawing's
// "Standard" when it has no such style), else the variable's default.
VxDbDimValue vxdbDimVarInEffect(const VxDbObject* object, const std::wstring& styleName, VxDbDimVar var);

}  // namespace kx

#pragma once

#include <cstdint>

namespace kx::VxDb {

enum OpenMode : int { kForRead = 0, kForWrite = 1, kForNotify = 2 };

enum Visibility : int { kVisible = 0, kInvisible = 1 };

// Line weight in hundredths of a millimetre, or one of the three specials.
enum LineWeight : int16_t {
    kLnWt000 = 0, kLnWt005 = 5, kLnWt009 = 9, kLnWt013 = 13, kLnWt015 = 15, kLnWt018 = 18,
    kLnWt020 = 20, kLnWt025 = 25, kLnWt030 = 30, kLnWt035 = 35, kLnWt040 = 40, kLnWt050 = 50,
    kLnWt053 = 53, kLnWt060 = 60, kLnWt070 = 70, kLnWt080 = 80, kLnWt090 = 90, kLnWt100 = 100,
    kLnWt106 = 106, kLnWt120 = 120, kLnWt140 = 140, kLnWt158 = 158, kLnWt200 = 200, kLnWt211 = 211,
    kLnWtByLayer = -1, kLnWtByBlock = -2, kLnWtByLwDefault = -3,
};
bool isValidLineWeight(int value);

// How an entity names its plot style.
enum PlotStyleNameType : uint8_t {
    kPlotStyleNameByLayer = 0,
    kPlotStyleNameByBlock = 1,
    kPlotStyleNameIsDictDefault = 2,
    kPlotStyleNameById = 3,
};

// Extension of the two curves in an intersection: none, this one, the other
// one, or both (a segment extends to its line, an arc to its circle).
enum Intersect : int { kOnBothOperands = 0, kExtendThis = 1, kExtendArg = 2, kExtendBoth = 3 };

// What a cross-database clone does with a record whose name the destination
// already has.
enum DuplicateRecordCloning : int {
    kDrcNotApplicable = 0,
    kDrcIgnore = 1,          // keep the destination's record
    kDrcReplace = 2,         // overwrite the destination's record
    kDrcXrefMangleName = 3,  // clone as "<xref>$0$<name>"
    kDrcMangleName = 4,      // clone as "$0$<name>"
    kDrcUnmangleName = 5,
};

// Drawing units of INSUNITS and of block records.
enum UnitsValue : int {
    kUnitsUndefined = 0, kUnitsInches = 1, kUnitsFeet = 2, kUnitsMiles = 3, kUnitsMillimeters = 4,
    kUnitsCentimeters = 5, kUnitsMeters = 6, kUnitsKilometers = 7, kUnitsMicroinches = 8, kUnitsMils = 9,
    kUnitsYards = 10, kUnitsAngstroms = 11, kUnitsNanometers = 12, kUnitsMicrons = 13, kUnitsDecimeters = 14,
    kUnitsDekameters = 15, kUnitsHectometers = 16, kUnitsGigameters = 17, kUnitsAstronomical = 18,
    kUnitsLightYears = 19, kUnitsParsecs = 20, kUnitsMax = kUnitsParsecs,
};

enum MeasurementValue : int { kEnglish = 0, kMetric = 1 };

enum BlockScaling : int { kAny = 0, kUniform = 1 };

// Kinds of references an object holds, for cloning, purging and writing.
enum ReferenceKind : int { kSoftPointerRef = 0, kHardPointerRef = 1, kSoftOwnershipRef = 2, kHardOwnershipRef = 3 };

}  // namespace kx::VxDb

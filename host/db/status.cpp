#include "db/status.h"

#include "db/dbenums.h"

namespace kx {

const char* Velt::statusName(ErrorStatus status)
{
    switch (status) {
    case eOk: return "eOk";
    case eNotImplementedYet: return "eNotImplementedYet";
    case eNotApplicable: return "eNotApplicable";
    case eAmbiguousInput: return "eAmbiguousInput";
    case eOutOfMemory: return "eOutOfMemory";
    case eBufferTooSmall: return "eBufferTooSmall";
    case eInvalidOpenState: return "eInvalidOpenState";
    case eNullObjectId: return "eNullObjectId";
    case eNullHandle: return "eNullHandle";
    case eNullObjectPointer: return "eNullObjectPointer";
    case eInvalidHandle: return "eInvalidHandle";
    case eHandleInUse: return "eHandleInUse";
    case eNotInDatabase: return "eNotInDatabase";
    case eInvalidInput: return "eInvalidInput";
    case eOutOfRange: return "eOutOfRange";
    case eAlreadyInDb: return "eAlreadyInDb";
    case eWrongObjectType: return "eWrongObjectType";
    case eWasErased: return "eWasErased";
    case eKeyNotFound: return "eKeyNotFound";
    case eDuplicateKey: return "eDuplicateKey";
    case eInvalidIndex: return "eInvalidIndex";
    case eWasOpenForWrite: return "eWasOpenForWrite";
    case eWasOpenForRead: return "eWasOpenForRead";
    case eWasOpenForNotify: return "eWasOpenForNotify";
    case eNotOpenForWrite: return "eNotOpenForWrite";
    case eNotOpenForRead: return "eNotOpenForRead";
    case eWasPermanentlyErased: return "eWasPermanentlyErased";
    case eWasNotErased: return "eWasNotErased";
    case eAtMaxReaders: return "eAtMaxReaders";
    case eHadMultipleReaders: return "eHadMultipleReaders";
    case eLockViolation: return "eLockViolation";
    case eSelfReference: return "eSelfReference";
    case eFileNotFound: return "eFileNotFound";
    case eFileAccessErr: return "eFileAccessErr";
    case eBadFileFormat: return "eBadFileFormat";
    case eEndOfFile: return "eEndOfFile";
    case eInvalidDxfCode: return "eInvalidDxfCode";
    case eInvalidResBuf: return "eInvalidResBuf";
    case eXdataSizeExceeded: return "eXdataSizeExceeded";
    case eRegappNotFound: return "eRegappNotFound";
    case eInvalidSymbolName: return "eInvalidSymbolName";
    case eCannotBeErased: return "eCannotBeErased";
    case eObjectIsReferenced: return "eObjectIsReferenced";
    case eCannotRename: return "eCannotRename";
    case eWrongDatabase: return "eWrongDatabase";
    case eDegenerateGeometry: return "eDegenerateGeometry";
    case eCannotScaleNonUniformly: return "eCannotScaleNonUniformly";
    case eNotInBlock: return "eNotInBlock";
    case eNotThatKindOfClass: return "eNotThatKindOfClass";
    case eInvalidPlotDevice: return "eInvalidPlotDevice";
    case eInvalidMediaName: return "eInvalidMediaName";
    case eInvalidStyleSheet: return "eInvalidStyleSheet";
    case eInvalidPlotArea: return "eInvalidPlotArea";
    case eInvalidPlotScale: return "eInvalidPlotScale";
    case eInvalidPlotView: return "eInvalidPlotView";
    case eCannotDeleteModelLayout: return "eCannotDeleteModelLayout";
    case eCannotDeleteLastLayout: return "eCannotDeleteLastLayout";
    case eInvalidLayoutName: return "eInvalidLayoutName";
    case eUnknownClass: return "eUnknownClass";
    case eInvalidOwner: return "eInvalidOwner";
    case eDuplicateRecordName: return "eDuplicateRecordName";
    case eNoDatabase: return "eNoDatabase";
    case eNoIterator: return "eNoIterator";
    case eLayoutNotFound: return "eLayoutNotFound";
    case eBlockStillReferenced: return "eBlockStillReferenced";
    }
    return "(unknown status)";
}

bool VxDb::isValidLineWeight(int value)
{
    switch (value) {
    case kLnWt000: case kLnWt005: case kLnWt009: case kLnWt013: case kLnWt015: case kLnWt018:
    case kLnWt020: case kLnWt025: case kLnWt030: case kLnWt035: case kLnWt040: case kLnWt050:
    case kLnWt053: case kLnWt060: case kLnWt070: case kLnWt080: case kLnWt090: case kLnWt100:
    case kLnWt106: case kLnWt120: case kLnWt140: case kLnWt158: case kLnWt200: case kLnWt211:
    case kLnWtByLayer: case kLnWtByBlock: case kLnWtByLwDefault:
        return true;
    default:
        return false;
    }
}

}  // namespace kx

// The fixed table from database statuses to HRESULTs: the system's error vocabulary.
#pragma once

#include <windows.h>

#include <cstddef>

#include "db/status.h"

namespace nk {

// The HRESULT mapped to a status, inserting 0 for a status the table does not know (so
// the table grows by one entry per distinct unknown status).
HRESULT mappedStatus(kx::Velt::ErrorStatus status);
bool statusKnown(kx::Velt::ErrorStatus status);
size_t statusTableSize();

}  // namespace nk

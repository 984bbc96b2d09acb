// Extended data and extended-record data in automation: two parallel one-dimensional
// arrays, the group codes (VT_I2) and the values (VT_VARIANT).
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "db/resbuf.h"

namespace nk {

// Fills the two arrays from a chain; no items leaves both VT_EMPTY. The outputs must be
// empty VARIANTs.
void chainToVariants(const kx::VxResBuf* chain, VARIANT* types, VARIANT* values);

// Builds a chain from the two arrays (either may be passed by reference; a pair of scalars
// makes a one-item chain). Throws E_INVALIDARG for arrays that are not one-dimensional or do
// not match, and the HRESULT of a failed element read.
kx::VxResBufPtr variantsToChain(const VARIANT& types, const VARIANT& values);

}  // namespace nk

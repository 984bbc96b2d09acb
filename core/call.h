// The error edge of every member: a database status thrown inside becomes the HRESULT of
// the status table, an HRESULT thrown inside is returned as it is.
#pragma once

#include <windows.h>

#include <new>

#include "axsupport/errors.h"
#include "db/status.h"

namespace nk {

template <class Body>
HRESULT guarded(const IID& iid, Body&& body) noexcept
{
    try {
        return body();
    } catch (kx::Velt::ErrorStatus status) {
        return RaiseVrxException(iid, 0, status);
    } catch (HRESULT hr) {
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

// Throws a failing database status.
inline void check(kx::Velt::ErrorStatus status)
{
    if (status != kx::Velt::eOk) throw status;
}

}  // namespace nk

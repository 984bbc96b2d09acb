// The members every wrapper of a database object shares, done once: each takes the object's
// id, or a wrapper's reference (which also serves objects not in a database yet).
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "axsupport/export.h"
#include "core/object_ref.h"
#include "kxauto.h"

NK_EXPORT HRESULT VxAxGetHandle(const kx::VxDbObjectId& id, BSTR* handle);
NK_EXPORT HRESULT VxAxGetHandle(VxAxObjectRef& ref, BSTR* handle);
NK_EXPORT HRESULT VxAxGetObjectName(const kx::VxDbObjectId& id, BSTR* name);
NK_EXPORT HRESULT VxAxGetObjectName(VxAxObjectRef& ref, BSTR* name);
NK_EXPORT HRESULT VxAxGetOwnerId(const kx::VxDbObjectId& id, LONG_PTR* owner);
NK_EXPORT HRESULT VxAxGetOwnerId(VxAxObjectRef& ref, LONG_PTR* owner);
NK_EXPORT HRESULT VxAxHasExtensionDictionary(const kx::VxDbObjectId& id, VARIANT_BOOL* has);
NK_EXPORT HRESULT VxAxHasExtensionDictionary(VxAxObjectRef& ref, VARIANT_BOOL* has);
NK_EXPORT HRESULT VxAxGetExtensionDictionary(const kx::VxDbObjectId& id, IDispatch* app, IVeltDictionary** dictionary);
NK_EXPORT HRESULT VxAxGetExtensionDictionary(VxAxObjectRef& ref, IDispatch* app, IVeltDictionary** dictionary);
NK_EXPORT HRESULT VxAxSetXData(const kx::VxDbObjectId& id, VARIANT types, VARIANT values);
NK_EXPORT HRESULT VxAxSetXData(VxAxObjectRef& ref, VARIANT types, VARIANT values);
NK_EXPORT HRESULT VxAxGetXData(const kx::VxDbObjectId& id, BSTR appName, VARIANT* types, VARIANT* values);
NK_EXPORT HRESULT VxAxGetXData(VxAxObjectRef& ref, BSTR appName, VARIANT* types, VARIANT* values);
NK_EXPORT HRESULT VxAxErase(const kx::VxDbObjectId& id);
NK_EXPORT HRESULT VxAxErase(VxAxObjectRef& ref);

// The layer-state manager: a creatable object that a client points at a drawing
// (SetDatabase) and that saves, restores and exchanges the drawing's named layer states.
// It keeps the database wrapper it was given and asks it for the drawing on every call.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "frame/com.h"
#include "kxauto.h"

namespace nk {

namespace layerStates {

HRESULT setDatabase(ComPtr<IDispatch>& held, IVeltDatabase* database);
HRESULT mask(IDispatch* database, BSTR name, VxLayerStateMask* out);
HRESULT setMask(IDispatch* database, BSTR name, VxLayerStateMask mask);
HRESULT save(IDispatch* database, BSTR name, VxLayerStateMask mask);
HRESULT restore(IDispatch* database, BSTR name);
HRESULT remove(IDispatch* database, BSTR name);
HRESULT rename(IDispatch* database, BSTR oldName, BSTR newName);
HRESULT import(IDispatch* database, BSTR fileName);
HRESULT exportTo(IDispatch* database, BSTR name, BSTR fileName);

}  // namespace layerStates

template <class Self, class Base>
class LayerStateManagerMembers : public Base {
public:
    HRESULT STDMETHODCALLTYPE SetDatabase(IVeltDatabase* database) override
    {
        return layerStates::setDatabase(database_, database);
    }
    HRESULT STDMETHODCALLTYPE get_Mask(BSTR name, VxLayerStateMask* mask) override
    {
        return layerStates::mask(database_.get(), name, mask);
    }
    HRESULT STDMETHODCALLTYPE put_Mask(BSTR name, VxLayerStateMask mask) override
    {
        return layerStates::setMask(database_.get(), name, mask);
    }
    HRESULT STDMETHODCALLTYPE Save(BSTR name, VxLayerStateMask mask) override
    {
        return layerStates::save(database_.get(), name, mask);
    }
    HRESULT STDMETHODCALLTYPE Restore(BSTR name) override { return layerStates::restore(database_.get(), name); }
    HRESULT STDMETHODCALLTYPE Delete(BSTR name) override { return layerStates::remove(database_.get(), name); }
    HRESULT STDMETHODCALLTYPE Rename(BSTR oldName, BSTR newName) override
    {
        return layerStates::rename(database_.get(), oldName, newName);
    }
    HRESULT STDMETHODCALLTYPE Import(BSTR fileName) override { return layerStates::import(database_.get(), fileName); }
    HRESULT STDMETHODCALLTYPE Export(BSTR name, BSTR fileName) override
    {
        return layerStates::exportTo(database_.get(), name, fileName);
    }

private:
    ComPtr<IDispatch> database_;
};

}  // namespace nk

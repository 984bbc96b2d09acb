// Members of the object model whose behaviour is not written yet answer E_NOTIMPL.
// frame/pending.txt lists them, one "Interface.method" a line; the build turns the list
// into the Pending<Interface, Base> mixins of catalogue_gen.h. Count what is left with:
//     grep -vc "^#" frame/pending.txt
#pragma once

#include <windows.h>
#include <ocidl.h>

#include "kxauto.h"

// Marks a coclass that has no event source interface.
struct NoEvents;

// The base interface of each interface of the type library (generated).
template <class Itf>
struct BaseOf;

// The own members of Itf that are still pending, on top of Base (generated per interface).
template <class Itf, class Base>
struct Pending : Base {};

inline HRESULT pendingMember() { return E_NOTIMPL; }

// Small RAII types for COM values: interface pointers, BSTRs, VARIANTs, SAFEARRAY access
// and critical sections. Each owns exactly one thing and releases it on every path.
#pragma once

#include <windows.h>
#include <oleauto.h>
#include <unknwn.h>

#include <utility>

namespace nk {

// A counted interface pointer.
template <class T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(T* p) : p_(p) { if (p_) p_->AddRef(); }
    ComPtr(const ComPtr& o) : ComPtr(o.p_) {}
    ComPtr(ComPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
    ~ComPtr() { reset(); }
    ComPtr& operator=(ComPtr o) noexcept { std::swap(p_, o.p_); return *this; }

    // Takes over a reference the caller already owns.
    static ComPtr adopt(T* p) { ComPtr c; c.p_ = p; return c; }

    T* get() const { return p_; }
    T* operator->() const { return p_; }
    explicit operator bool() const { return p_ != nullptr; }
    void reset() { if (p_) std::exchange(p_, nullptr)->Release(); }
    // For out parameters: releases what is held and hands out the slot.
    T** put() { reset(); return &p_; }
    void** putVoid() { return reinterpret_cast<void**>(put()); }
    // Gives the reference away to the caller.
    T* detach() { return std::exchange(p_, nullptr); }

    template <class U>
    ComPtr<U> as() const {
        ComPtr<U> r;
        if (p_) p_->QueryInterface(__uuidof(U), r.putVoid());
        return r;
    }

private:
    T* p_ = nullptr;
};

// An owned BSTR.
class Bstr {
public:
    Bstr() = default;
    explicit Bstr(const wchar_t* s) : s_(s ? SysAllocString(s) : nullptr) {}
    Bstr(const wchar_t* s, UINT len) : s_(SysAllocStringLen(s, len)) {}
    Bstr(const Bstr& o) : s_(o.s_ ? SysAllocStringLen(o.s_, SysStringLen(o.s_)) : nullptr) {}
    Bstr(Bstr&& o) noexcept : s_(std::exchange(o.s_, nullptr)) {}
    ~Bstr() { SysFreeString(s_); }
    Bstr& operator=(Bstr o) noexcept { std::swap(s_, o.s_); return *this; }

    static Bstr adopt(BSTR s) { Bstr b; b.s_ = s; return b; }
    BSTR get() const { return s_; }
    BSTR* put() { SysFreeString(s_); s_ = nullptr; return &s_; }
    BSTR detach() { return std::exchange(s_, nullptr); }
    UINT length() const { return SysStringLen(s_); }
    const wchar_t* c_str() const { return s_ ? s_ : L""; }

private:
    BSTR s_ = nullptr;
};

// An owned VARIANT, cleared on destruction.
class Variant {
public:
    Variant() { VariantInit(&v_); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() { VariantClear(&v_); }

    VARIANT* get() { return &v_; }
    const VARIANT* get() const { return &v_; }
    VARIANT* operator->() { return &v_; }
    VARTYPE type() const { return V_VT(&v_); }
    HRESULT clear() { return VariantClear(&v_); }
    // Moves the value out to a caller's VARIANT, which must be empty.
    void detachTo(VARIANT* out) { *out = v_; VariantInit(&v_); }

private:
    VARIANT v_;
};

// Access to the data of a SAFEARRAY for the length of a scope.
class SafeArrayAccess {
public:
    explicit SafeArrayAccess(SAFEARRAY* sa) : sa_(sa) {
        hr_ = sa ? SafeArrayAccessData(sa, &data_) : E_INVALIDARG;
    }
    SafeArrayAccess(const SafeArrayAccess&) = delete;
    SafeArrayAccess& operator=(const SafeArrayAccess&) = delete;
    ~SafeArrayAccess() { if (SUCCEEDED(hr_)) SafeArrayUnaccessData(sa_); }

    HRESULT status() const { return hr_; }
    template <class T>
    T* data() const { return static_cast<T*>(data_); }

private:
    SAFEARRAY* sa_;
    void* data_ = nullptr;
    HRESULT hr_;
};

// An owned SAFEARRAY, destroyed unless handed over.
class SafeArray {
public:
    SafeArray() = default;
    explicit SafeArray(SAFEARRAY* sa) : sa_(sa) {}
    SafeArray(const SafeArray&) = delete;
    SafeArray& operator=(const SafeArray&) = delete;
    SafeArray(SafeArray&& o) noexcept : sa_(std::exchange(o.sa_, nullptr)) {}
    ~SafeArray() { if (sa_) SafeArrayDestroy(sa_); }

    SAFEARRAY* get() const { return sa_; }
    SAFEARRAY* detach() { return std::exchange(sa_, nullptr); }

private:
    SAFEARRAY* sa_ = nullptr;
};

class CriticalSection {
public:
    CriticalSection() { InitializeCriticalSection(&cs_); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;
    ~CriticalSection() { DeleteCriticalSection(&cs_); }
    void enter() { EnterCriticalSection(&cs_); }
    void leave() { LeaveCriticalSection(&cs_); }

private:
    CRITICAL_SECTION cs_;
};

class CriticalSectionLock {
public:
    explicit CriticalSectionLock(CriticalSection& cs) : cs_(cs) { cs_.enter(); }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;
    ~CriticalSectionLock() { cs_.leave(); }

private:
    CriticalSection& cs_;
};

}  // namespace nk

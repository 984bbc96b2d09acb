// VxArray<T>: the growable array under the point lists. Elements move by raw byte copy, so T
// must be trivially copyable. Growth doubles until a block reaches 64 KiB, then grows by
// 64 KiB at a time, so that very long point lists don't over-allocate.
#pragma once

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

#include "axsupport/export.h"

template <class T>
class NK_EXPORT VxArray {
    static_assert(std::is_trivially_copyable_v<T>, "VxArray moves its elements as raw bytes");

public:
    explicit VxArray(int initPhysicalLength = 0, int initGrowLength = 8) : grow_(initGrowLength)
    {
        if (initPhysicalLength >= 1) setPhysicalLength(initPhysicalLength);
    }
    VxArray(const VxArray& other) : grow_(other.grow_)
    {
        if (other.logical_ > 0) {
            setPhysicalLength(other.logical_);
            if (data_) {
                std::memcpy(static_cast<void*>(data_), other.data_, sizeof(T) * other.logical_);
                logical_ = other.logical_;
            }
        }
    }
    VxArray(VxArray&& other) noexcept
        : data_(std::exchange(other.data_, nullptr)),
          physical_(std::exchange(other.physical_, 0)),
          logical_(std::exchange(other.logical_, 0)),
          grow_(other.grow_)
    {
    }
    ~VxArray() { std::free(data_); }

    VxArray& operator=(const VxArray& other);
    VxArray& operator=(VxArray&& other) noexcept
    {
        if (this != &other) {
            std::free(data_);
            data_ = std::exchange(other.data_, nullptr);
            physical_ = std::exchange(other.physical_, 0);
            logical_ = std::exchange(other.logical_, 0);
            grow_ = other.grow_;
        }
        return *this;
    }

    bool operator==(const VxArray& other) const;

    // Element access; indices are the caller's to check, as for a plain array.
    T& operator[](int i) { return data_[i]; }
    const T& operator[](int i) const { return data_[i]; }
    T& at(int i) { return data_[i]; }
    const T& at(int i) const { return data_[i]; }
    VxArray& setAt(int i, const T& value);
    T& first() { return data_[0]; }
    const T& first() const { return data_[0]; }
    T& last() { return data_[logical_ - 1]; }
    const T& last() const { return data_[logical_ - 1]; }
    T* begin() { return data_; }
    T* end() { return data_ + logical_; }
    const T* begin() const { return data_; }
    const T* end() const { return data_ + logical_; }
    const T* asArrayPtr() const { return data_; }

    int append(const T& value);
    VxArray& append(const VxArray& other);
    int appendMove(T& value) { return append(value); }
    VxArray& appendRep(const T& value, int count);

    VxArray& insertAt(int index, const T& value);
    VxArray& insertAtMove(int index, T& value) { return insertAt(index, value); }

    bool contains(const T& value, int start = 0) const { return findFrom(value, start) >= 0; }
    bool find(const T& value, int& index, int start = 0) const;
    int find(const T& value) const { return findFrom(value, 0); }
    int findFrom(const T& value, int start) const;

    bool isEmpty() const { return logical_ == 0; }
    int length() const { return logical_; }
    int logicalLength() const { return logical_; }
    int physicalLength() const { return physical_; }
    int growLength() const { return grow_; }
    VxArray& setGrowLength(int n);
    static constexpr int maxLength() { return INT_MAX / static_cast<int>(sizeof(T)); }

    VxArray& setLogicalLength(int n);
    VxArray& setLogicalLength(int n, const T& fill);
    VxArray& setPhysicalLength(int n);

    bool remove(const T& value, int start = 0);
    VxArray& removeAt(int index);
    VxArray& removeFirst() { return removeAt(0); }
    VxArray& removeLast() { return removeAt(logical_ - 1); }
    VxArray& removeAll();
    // Removes the elements start..end, both included.
    VxArray& removeSubArray(int start, int end);
    VxArray& reverse();
    VxArray& setAll(const T& value);
    VxArray& swap(int i, int j);

private:
    T* data_ = nullptr;
    int physical_ = 0;  // slots allocated
    int logical_ = 0;   // slots in use
    int grow_ = 8;      // smallest growth step
};

// Out of the class so that the exported instantiations carry them.

template <class T>
VxArray<T>& VxArray<T>::operator=(const VxArray& other)
{
    if (this != &other) {
        logical_ = 0;
        if (physical_ < other.logical_) setPhysicalLength(other.logical_);
        if (other.logical_ > 0 && data_) {
            std::memcpy(static_cast<void*>(data_), other.data_, sizeof(T) * other.logical_);
            logical_ = other.logical_;
        }
    }
    return *this;
}

template <class T>
bool VxArray<T>::operator==(const VxArray& other) const
{
    if (logical_ != other.logical_) return false;
    for (int i = 0; i < logical_; ++i)
        if (!(data_[i] == other.data_[i])) return false;
    return true;
}

template <class T>
VxArray<T>& VxArray<T>::setAt(int i, const T& value)
{
    data_[i] = value;
    return *this;
}

template <class T>
int VxArray<T>::append(const T& value)
{
    insertAt(logical_, value);
    return logical_ - 1;
}

template <class T>
VxArray<T>& VxArray<T>::append(const VxArray& other)
{
    // Copy first: other may be this array.
    VxArray copy(other);
    int start = logical_;
    setLogicalLength(logical_ + copy.logical_);
    if (copy.logical_ > 0 && logical_ == start + copy.logical_)
        std::memcpy(static_cast<void*>(data_ + start), copy.data_, sizeof(T) * copy.logical_);
    return *this;
}

template <class T>
VxArray<T>& VxArray<T>::appendRep(const T& value, int count)
{
    if (count > 0) setLogicalLength(logical_ + count, value);
    return *this;
}

template <class T>
VxArray<T>& VxArray<T>::insertAt(int index, const T& value)
{
    if (index < 0 || index > logical_) return *this;
    if (index == logical_ && logical_ < physical_) {
        data_[logical_++] = value;
        return *this;
    }
    // The value may live in this array: keep a copy before moving anything.
    T copy = value;
    int old = logical_;
    setLogicalLength(logical_ + 1);
    if (logical_ != old + 1) return *this;  // allocation failed
    if (index < old)
        std::memmove(static_cast<void*>(data_ + index + 1), data_ + index, sizeof(T) * (old - index));
    data_[index] = copy;
    return *this;
}

template <class T>
bool VxArray<T>::find(const T& value, int& index, int start) const
{
    int found = findFrom(value, start);
    if (found < 0) return false;
    index = found;
    return true;
}

template <class T>
int VxArray<T>::findFrom(const T& value, int start) const
{
    for (int i = std::max(start, 0); i < logical_; ++i)
        if (data_[i] == value) return i;
    return -1;
}

template <class T>
VxArray<T>& VxArray<T>::setGrowLength(int n)
{
    if (n > 0) grow_ = n;
    return *this;
}

template <class T>
VxArray<T>& VxArray<T>::setLogicalLength(int n)
{
    if (n < 0) n = 0;
    if (n > physical_) {
        int step = static_cast<long long>(physical_) * static_cast<long long>(sizeof(T)) < 65536
                       ? physical_
                       : 65536 / static_cast<int>(sizeof(T));
        step = std::max(step, grow_);
        long long wanted = std::max<long long>(n, static_cast<long long>(physical_) + step);
        setPhysicalLength(static_cast<int>(std::min<long long>(wanted, maxLength())));
        if (n > physical_) return *this;  // allocation failed: nothing changes further
    }
    logical_ = n;
    return *this;
}

template <class T>
VxArray<T>& VxArray<T>::setLogicalLength(int n, const T& fill)
{
    T copy = fill;
    int old = logical_;
    setLogicalLength(n);
    for (int i = old; i < logical_; ++i) data_[i] = copy;
    return *this;
}

template <class T>
VxArray<T>& VxArray<T>::setPhysicalLength(int n)
{
    if (n == physical_ || n < 0) return *this;
    T* fresh = nullptr;
    if (n > 0) {
        fresh = static_cast<T*>(std::calloc(static_cast<size_t>(n), sizeof(T)));
        if (!fresh) {
            std::free(data_);
            data_ = nullptr;
            physical_ = logical_ = 0;
            return *this;
        }
        int keep = std::min(logical_, n);
        if (keep > 0) std::memcpy(static_cast<void*>(fresh), data_, sizeof(T) * keep);
    }
    std::free(data_);
    data_ = fresh;
    physical_ = n;
    logical_ = std::min(logical_, n);
    return *this;
}

template <class T>
bool VxArray<T>::remove(const T& value, int start)
{
    int i = findFrom(value, start);
    if (i < 0) return false;
    removeAt(i);
    return true;
}

template <class T>
VxArray<T>& VxArray<T>::removeAt(int index)
{
    if (index < 0 || index >= logical_) return *this;
    if (index < logical_ - 1)
        std::memmove(static_cast<void*>(data_ + index), data_ + index + 1, sizeof(T) * (logical_ - index - 1));
    --logical_;
    return *this;
}

template <class T>
VxArray<T>& VxArray<T>::removeAll()
{
    logical_ = 0;
    return *this;
}

template <class T>
VxArray<T>& VxArray<T>::removeSubArray(int start, int end)
{
    if (start < 0 || end < start || start >= logical_) return *this;
    end = std::min(end, logical_ - 1);
    int tail = logical_ - end - 1;
    if (tail > 0) std::memmove(static_cast<void*>(data_ + start), data_ + end + 1, sizeof(T) * tail);
    logical_ -= end - start + 1;
    return *this;
}

template <class T>
VxArray<T>& VxArray<T>::reverse()
{
    std::reverse(data_, data_ + logical_);
    return *this;
}

template <class T>
VxArray<T>& VxArray<T>::setAll(const T& value)
{
    for (int i = 0; i < logical_; ++i) data_[i] = value;
    return *this;
}

template <class T>
VxArray<T>& VxArray<T>::swap(int i, int j)
{
    if (i >= 0 && j >= 0 && i < logical_ && j < logical_ && i != j) std::swap(data_[i], data_[j]);
    return *this;
}

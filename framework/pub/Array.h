// A small owning array that grows at its end: the framework's own, so that a program built on it does not carry
// the C++ library's container exceptions and the string classes they bring with them.
#pragma once

#include <climits>
#include <utility>

#include "Platform.h"

namespace Orn {

// Every slot of the storage holds a value: the elements, then default values up to the capacity. T needs a
// default constructor and (move) assignment. Indexes are not checked; a failed allocation throws, as new does.
template <class T> class CArray {
public:
    CArray() = default;
    CArray(const CArray& other) { *this = other; }
    CArray(CArray&& other) noexcept { Swap(other); }
    ~CArray() { delete[] mItems; }

    CArray& operator=(const CArray& other)
    {
        if (this != &other) {
            Clear();
            Reserve(other.mSize);
            for (const T& item : other)
                mItems[mSize++] = item;
        }
        return *this;
    }
    CArray& operator=(CArray&& other) noexcept
    {
        CArray moved(std::move(other));
        Swap(moved);
        return *this;
    }

    Int Size() const { return mSize; }
    bool IsEmpty() const { return mSize == 0; }
    T& operator[](Int i) { return mItems[i]; }
    const T& operator[](Int i) const { return mItems[i]; }
    T* Data() { return mItems; }
    const T* Data() const { return mItems; }
    T* begin() { return mItems; }
    T* end() { return mItems + mSize; }
    const T* begin() const { return mItems; }
    const T* end() const { return mItems + mSize; }

    void Add(T item)
    {
        Reserve(mSize + 1);
        mItems[mSize++] = std::move(item);
    }
    // The elements after it move up one place.
    void RemoveAt(Int index)
    {
        for (Int i = index; i + 1 < mSize; ++i)
            mItems[i] = std::move(mItems[i + 1]);
        RemoveLast();
    }
    void RemoveLast() { mItems[--mSize] = T(); }
    // Keeps the storage for the next elements.
    void Clear()
    {
        while (mSize > 0)
            RemoveLast();
    }
    // Drops elements from the end, or adds default values.
    void Resize(Int size)
    {
        while (mSize > size)
            RemoveLast();
        if (size > mSize) {
            Reserve(size);
            mSize = size;
        }
    }

private:
    void Swap(CArray& other) noexcept
    {
        std::swap(mItems, other.mItems);
        std::swap(mSize, other.mSize);
        std::swap(mCapacity, other.mCapacity);
    }
    // At least doubles, so adding one element at a time stays linear.
    void Reserve(Int size)
    {
        if (size <= mCapacity)
            return;
        Int capacity = mCapacity > INT_MAX / 2 || 2 * mCapacity < size ? size : 2 * mCapacity;
        T* items = new T[capacity]();
        for (Int i = 0; i < mSize; ++i)
            items[i] = std::move(mItems[i]);
        delete[] mItems;
        mItems = items;
        mCapacity = capacity;
    }

    T* mItems = nullptr;
    Int mSize = 0;
    Int mCapacity = 0;
};

} // namespace Orn

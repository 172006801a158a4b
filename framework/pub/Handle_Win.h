// One owning wrapper for operating-system handles, with a traits struct per kind of handle.
#pragma once

#include <windows.h>

namespace Orn {

template <class Traits> class CHandle {
public:
    using Type = typename Traits::Type;

    CHandle() : mHandle(Traits::Invalid()) {}
    explicit CHandle(Type handle) : mHandle(handle) {}
    CHandle(const CHandle&) = delete;
    CHandle& operator=(const CHandle&) = delete;
    CHandle(CHandle&& other) noexcept : mHandle(other.Take()) {}
    CHandle& operator=(CHandle&& other) noexcept
    {
        if (this != &other)
            Reset(other.Take());
        return *this;
    }
    ~CHandle() { Reset(); }

    bool IsValid() const { return mHandle != Traits::Invalid(); }
    Type Get() const { return mHandle; }
    // Gives up ownership.
    Type Take()
    {
        Type h = mHandle;
        mHandle = Traits::Invalid();
        return h;
    }
    // Closes the held handle (if any) and holds the new one.
    bool Reset(Type handle = Traits::Invalid())
    {
        bool ok = true;
        if (IsValid())
            ok = Traits::Close(mHandle);
        mHandle = handle;
        return ok;
    }

private:
    Type mHandle;
};

// Kernel objects that report failure as a null handle (mutexes, threads, processes).
struct KernelHandleTraits {
    using Type = HANDLE;
    static Type Invalid() { return nullptr; }
    static bool Close(Type h) { return ::CloseHandle(h) != 0; }
};

// Files, whose failure value is INVALID_HANDLE_VALUE.
struct FileHandleTraits {
    using Type = HANDLE;
    static Type Invalid() { return INVALID_HANDLE_VALUE; }
    static bool Close(Type h) { return ::CloseHandle(h) != 0; }
};

// Loaded libraries.
struct LibraryHandleTraits {
    using Type = HMODULE;
    static Type Invalid() { return nullptr; }
    static bool Close(Type h) { return ::FreeLibrary(h) != 0; }
};

using CKernelHandle = CHandle<KernelHandleTraits>;
using CFileHandle = CHandle<FileHandleTraits>;
using CLibraryHandle = CHandle<LibraryHandleTraits>;

} // namespace Orn

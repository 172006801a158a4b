// A system library loaded by name at run time, and its exports looked up by name.
#pragma once

#include <windows.h>

#include "Handle_Win.h"
#include "Status.h"

namespace Orn {

// The export of that name as a function pointer of type F, or null (also for a null module).
template <class F> F LookUpExport(HMODULE module, const char* name)
{
    // Through the generic function type, which the compiler accepts as a cast to any other.
    return module ? reinterpret_cast<F>(reinterpret_cast<void (*)()>(::GetProcAddress(module, name))) : nullptr;
}

// Only the system folder is searched, never the program's own folder or the current one, so that a library
// planted beside the program (in a download or installer folder) is never loaded.
class CDynamicLibrary {
public:
    // Ok, or the failure of the load (E_NotFound when there is no such library).
    RStatus Load(const char* name);
    bool IsLoaded() const { return mLib.IsValid(); }
    template <class F> F Find(const char* name) const { return LookUpExport<F>(mLib.Get(), name); }

private:
    CLibraryHandle mLib;
};

} // namespace Orn

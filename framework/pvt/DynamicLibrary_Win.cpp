// Loading a library by name at run time.
#include "DynamicLibrary_Win.h"

namespace Orn {

RStatus CDynamicLibrary::Load(const char* name)
{
    HMODULE lib = ::LoadLibraryA(name);
    // Read before releasing any earlier library can change the thread's last error.
    RStatus status = lib ? Ok : LastOSErrorStatus();
    mLib.Reset(lib);
    return status;
}

} // namespace Orn

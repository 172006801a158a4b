// Windows half of the string-resource stream: LoadStringA from the program's own module.
#include <windows.h>

#include "StringResStream.h"

namespace Orn {

RStatus CStringResStream::Open(Int id, DWord mode)
{
    HINSTANCE module = ::GetModuleHandleA(nullptr);
    // LoadStringA cannot tell the length beforehand: grow until the text no longer fills the buffer.
    for (Int size = 256; size <= 0x10000; size *= 2) {
        char* buf = mText.Lock(size);
        int n = ::LoadStringA(module, static_cast<UINT>(id), buf, size + 1);
        if (n <= 0)
            buf[0] = 0;
        mText.Unlock();
        if (n <= 0) {
            Fail(E_NotFound);
            return E_NotFound;
        }
        if (n < size)
            break;
    }
    CStringStream::Open(mText, mode & ~DWord(smWrite));
    return Ok;
}

} // namespace Orn

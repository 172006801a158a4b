// Native half of the string-resource stream: a native program carries no string resources.
#include "StringResStream.h"

namespace Orn {

RStatus CStringResStream::Open(Int, DWord)
{
    mText.Empty();
    Fail(E_NotFound);
    return E_NotFound;
}

} // namespace Orn

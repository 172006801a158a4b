// Reads the text of one of the program's string resources.
#pragma once

#include "StringStream.h"

namespace Orn {

class CStringResStream : public CStringStream {
public:
    CStringResStream() = default;
    explicit CStringResStream(Int id, DWord mode = smRead) { (void)Open(id, mode); }
    // Loads the string with this id; E_NotFound when there is none (always outside Windows).
    RStatus Open(Int id, DWord mode = smRead);

private:
    CString mText;
};

} // namespace Orn

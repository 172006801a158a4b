// The native build has no HTTP client: every read fails to start.
#include "WebPageReaderPlatform.h"

namespace Orn {

std::unique_ptr<CPageReadThread> StartPageReadThread(const char*, const CWebRequest&, const std::shared_ptr<char[]>&,
                                                     Int)
{
    return nullptr;
}

} // namespace Orn

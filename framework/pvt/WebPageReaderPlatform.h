// The platform half of the web page reader: the worker thread (WebPageReader_Win.cpp, WebPageReader_Posix.cpp).
#pragma once

#include <memory>

#include "WebPageReader.h"

namespace Orn {

// A running or ended worker. Destroying it does not stop or wait for the worker.
class CPageReadThread {
public:
    virtual ~CPageReadThread() = default;
    // S_Busy while the worker runs, then its exit code.
    virtual RStatus Poll() const = 0;
    // True once the worker has ended, waiting up to ms milliseconds for that.
    virtual bool WaitForEnd(DWord ms) const = 0;
    virtual DWord LastInternetStatus() const = 0;
};

// Starts a worker that reads the request into text (max + 1 bytes, shared with the caller); null when the
// library cannot be loaded or the thread cannot be started.
std::unique_ptr<CPageReadThread> StartPageReadThread(const char* clientName, const CWebRequest& request,
                                                     const std::shared_ptr<char[]>& text, Int max);

} // namespace Orn

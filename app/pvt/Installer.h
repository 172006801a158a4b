// Carrying out the install command for the product: download, verification and start of the installer.
#pragma once

#include "InstallCommand.h"

// Downloads the request's file into the temporary folder with a progress window (log lines instead with -s),
// starts it with the request's arguments once its size and SHA-256 match, and logs how that ended; a failure
// other than a cancel is also told in a message box. The file is gone afterwards unless it was started.
EInstallResult RunInstall(const CInstallRequest& request);

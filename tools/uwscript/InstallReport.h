// What `uwscript run` shows of an install command: what would be downloaded, verified and run, and the outcome
// the run gave it.
#pragma once

#include <string>

#include "InstallCommand.h"
#include "JsonWriter.h"

struct CShownInstall {
    std::string url;
    long long size = 0;
    std::string sha256;
    std::string fileName;
    std::string args;
    std::string result;
};

CShownInstall DescribeInstall(const CInstallRequest& request, EInstallResult result);
void WriteInstallText(const CShownInstall& install, std::string& out);
void WriteInstallJson(const CShownInstall& install, CJsonWriter& json);

// An install command as uwscript run prints it.
#include "InstallReport.h"

CShownInstall DescribeInstall(const CInstallRequest& request, EInstallResult result)
{
    return {request.url.Chars(), request.size, request.sha256.Chars(), request.fileName.Chars(),
            request.args.Chars(), InstallResultName(result)};
}

void WriteInstallText(const CShownInstall& install, std::string& out)
{
    out += "install " + JsonQuoted(install.url) + "\n";
    out += "  download " + std::to_string(install.size) + " bytes into the temporary folder\n";
    out += "  verify size and SHA-256 " + install.sha256 + "\n";
    out += "  run " + JsonQuoted(install.fileName) + " " + JsonQuoted(install.args) + "\n";
    out += "  result " + install.result + "\n";
}

void WriteInstallJson(const CShownInstall& install, CJsonWriter& json)
{
    json.BeginObject().Key("url").String(install.url).Key("size").Number(install.size);
    json.Key("sha256").String(install.sha256).Key("file").String(install.fileName);
    json.Key("arguments").String(install.args).Key("result").String(install.result).EndObject();
}

// The reply pages the server sends. Every page is made here: each reply script of the folder, checked as the
// program would run it, wrapped in the envelope the program cuts the script out of.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

class CReplyStore {
public:
    // The program reads at most this many bytes of a page.
    static constexpr std::size_t cMaxPage = 10000;

    // Reads and checks each named script of the folder. False when any cannot be served, with every problem
    // in `errors`; warnings about scripts that can be served go to `warnings`.
    bool Load(const std::string& folder, const std::vector<std::string>& names, std::string& errors,
              std::string& warnings);
    // The page of a reply the store holds.
    const std::string& Page(const std::string& name) const { return mPages.at(name); }

private:
    bool LoadOne(const std::string& folder, const std::string& name, std::string& errors, std::string& warnings);

    std::map<std::string, std::string> mPages;
};

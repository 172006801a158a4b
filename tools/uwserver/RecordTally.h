// Counting a server record for the report: per day and in total the requests, how many were served and
// refused, the distinct machines by product version, system and language, and the replies served. Memory
// grows with the distinct machines and labels, never with the lines: hostile records are bounded too.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "RecordLine.h"

class CRecordTally {
public:
    enum EKind { kVersion, kSystem, kLanguage, kReply, cKinds };
    // Labels of a kind beyond this many count together as "(other)"; days beyond this many are refused.
    static constexpr std::size_t cMaxLabels = 1000;
    static constexpr std::size_t cMaxLabelBytes = 64;
    static constexpr std::size_t cMaxDays = 10000;

    struct CCounts {
        std::uint64_t requests = 0;
        std::uint64_t served = 0;
        std::uint64_t refused = 0;
        std::uint64_t unidentified = 0; // served requests that carry no machine identity
        std::uint64_t machines = 0;
        // By label number: machines for versions, systems and languages; served requests for replies. Only the
        // labels a day has are kept, so memory follows what the record holds, never days times labels.
        std::unordered_map<std::uint32_t, std::uint64_t> byLabel[cKinds];

        std::uint64_t Count(EKind kind, std::size_t label) const
        {
            auto found = byLabel[kind].find(static_cast<std::uint32_t>(label));
            return found == byLabel[kind].end() ? 0 : found->second;
        }
    };

    // Counts one line; false (nothing counted) when its day would be one too many.
    bool Add(const CRecordLine& line);

    // The days ("YYYY-MM-DD") in calendar order with their counts.
    const std::map<std::string, CCounts>& Days() const { return mDays; }
    const CCounts& Total() const { return mTotal; }
    const std::vector<std::string>& Labels(EKind kind) const { return mLabels[kind].names; }
    // Label numbers in report order: versions newest first, the rest by their total, largest first.
    std::vector<std::size_t> Ranked(EKind kind) const;

private:
    struct CLabels {
        std::unordered_map<std::string, std::uint32_t> numbers;
        std::vector<std::string> names;
    };
    // What a machine has been counted for (the machine itself, a version, ...) and on which day last.
    struct CSeen {
        std::uint32_t what;
        std::uint32_t day;
    };

    CCounts* DayOf(std::string_view time, std::uint32_t& dayNumber);
    std::uint32_t Label(EKind kind, std::string text);
    void Count(CCounts& day, EKind kind, std::uint32_t label);
    void CountMachine(const CRecordLine& line, CCounts& day, std::uint32_t dayNumber);
    // Counts `what` for the machine on the day unless it was counted that day already; for a label, in its
    // kind; for the machine itself (kind cKinds), in the machine totals.
    void Mark(std::vector<CSeen>& seen, EKind kind, std::uint32_t label, CCounts& day, std::uint32_t dayNumber);

    std::map<std::string, CCounts> mDays;
    std::map<std::string, std::uint32_t> mDayNumbers;
    std::string mLastDay;
    CCounts* mLastCounts = nullptr;
    std::uint32_t mLastDayNumber = 0;
    CCounts mTotal;
    CLabels mLabels[cKinds];
    std::unordered_map<std::uint64_t, std::vector<CSeen>> mMachines;
};

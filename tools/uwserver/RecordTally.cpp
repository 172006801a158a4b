// The record's counts: one pass, each machine remembered by its identity's hash with what it was counted for.
#include "RecordTally.h"

#include <algorithm>

#include "MachineIdentity.h"
#include "ServerRules.h"

namespace {

const char cNone[] = "(none)";
const char cOther[] = "(other)";

// "WIN 10.0 64-bit" from whichever of the three parts the request carries.
std::string SystemLabel(const CRecordLine& line)
{
    std::string label(line.Param("VR_OS"));
    for (std::string_view part : {line.Param("VR_OSVer"), line.Param("VR_OSBits")}) {
        if (!part.empty())
            label.append(label.empty() ? "" : " ").append(part);
    }
    if (!line.Param("VR_OSBits").empty())
        label += "-bit";
    return label;
}

void Bump(std::unordered_map<std::uint32_t, std::uint64_t>& counts, std::uint32_t label) { ++counts[label]; }

bool NewerFirst(const std::string& a, const std::string& b)
{
    Orn::CVersion va, vb;
    bool aIsVersion = ParseRequestVersion(a, va), bIsVersion = ParseRequestVersion(b, vb);
    if (aIsVersion != bIsVersion)
        return aIsVersion;
    if (aIsVersion && (va.IsNewer(vb) || vb.IsNewer(va)))
        return va.IsNewer(vb);
    return a < b;
}

} // namespace

bool CRecordTally::Add(const CRecordLine& line)
{
    std::uint32_t dayNumber = 0;
    CCounts* day = DayOf(line.time, dayNumber);
    if (!day)
        return false;
    ++day->requests, ++mTotal.requests;
    if (line.status != 200) {
        ++day->refused, ++mTotal.refused;
        return true;
    }
    ++day->served, ++mTotal.served;
    Count(*day, kReply, Label(kReply, std::string(line.reply)));
    CountMachine(line, *day, dayNumber);
    return true;
}

CRecordTally::CCounts* CRecordTally::DayOf(std::string_view time, std::uint32_t& dayNumber)
{
    std::string_view name = time.substr(0, 10);
    if (mLastCounts && name == mLastDay) {
        dayNumber = mLastDayNumber;
        return mLastCounts;
    }
    mLastDay = std::string(name);
    auto found = mDayNumbers.find(mLastDay);
    if (found == mDayNumbers.end()) {
        if (mDayNumbers.size() == cMaxDays) {
            mLastCounts = nullptr;
            return nullptr;
        }
        found = mDayNumbers.emplace(mLastDay, static_cast<std::uint32_t>(mDayNumbers.size())).first;
    }
    mLastDayNumber = dayNumber = found->second;
    return mLastCounts = &mDays[mLastDay];
}

std::uint32_t CRecordTally::Label(EKind kind, std::string text)
{
    CLabels& labels = mLabels[kind];
    if (text.empty())
        text = cNone;
    text.resize(std::min(text.size(), cMaxLabelBytes));
    auto found = labels.numbers.find(text);
    if (found != labels.numbers.end())
        return found->second;
    if (labels.names.size() == cMaxLabels)
        text = cOther;
    auto added = labels.numbers.emplace(text, static_cast<std::uint32_t>(labels.names.size()));
    if (added.second)
        labels.names.push_back(text);
    return added.first->second;
}

void CRecordTally::Count(CCounts& day, EKind kind, std::uint32_t label)
{
    Bump(day.byLabel[kind], label);
    Bump(mTotal.byLabel[kind], label);
}

void CRecordTally::CountMachine(const CRecordLine& line, CCounts& day, std::uint32_t dayNumber)
{
    std::string identity = MachineIdentity(line.Param("VR_Random"), line.Param("VR_MachTime"),
                                           line.Param("VR_UserTime"), line.Param("VR_MACAddr"));
    if (identity.empty()) {
        ++day.unidentified, ++mTotal.unidentified;
        return;
    }
    std::vector<CSeen>& seen = mMachines[IdentityHash(identity)];
    Mark(seen, cKinds, 0, day, dayNumber);
    Mark(seen, kVersion, Label(kVersion, std::string(line.Param("VR_ProdVer"))), day, dayNumber);
    Mark(seen, kSystem, Label(kSystem, SystemLabel(line)), day, dayNumber);
    Mark(seen, kLanguage, Label(kLanguage, std::string(line.Param("VR_OSLang"))), day, dayNumber);
}

void CRecordTally::Mark(std::vector<CSeen>& seen, EKind kind, std::uint32_t label, CCounts& day,
                        std::uint32_t dayNumber)
{
    std::uint32_t what = static_cast<std::uint32_t>(kind) << 24 | label;
    auto found = std::find_if(seen.begin(), seen.end(), [what](const CSeen& s) { return s.what == what; });
    bool first = found == seen.end();
    if (!first && found->day == dayNumber)
        return;
    if (first)
        seen.push_back({what, dayNumber});
    else
        found->day = dayNumber;
    if (kind == cKinds) {
        ++day.machines;
        mTotal.machines += first ? 1 : 0;
        return;
    }
    Bump(day.byLabel[kind], label);
    if (first)
        Bump(mTotal.byLabel[kind], label);
}

std::vector<std::size_t> CRecordTally::Ranked(EKind kind) const
{
    const std::vector<std::string>& names = mLabels[kind].names;
    std::vector<std::size_t> order(names.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        if (kind == kVersion)
            return NewerFirst(names[a], names[b]);
        return mTotal.Count(kind, a) > mTotal.Count(kind, b);
    });
    return order;
}

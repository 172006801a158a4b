// Staged rollouts: which values make a machine's identity, and the shares a rollout rule gives over a large
// synthetic fleet: close to the share asked for, even across the order, unchanged between checks, and growing
// without losing a machine.
#include "MachineIdentity.h"

#include <cmath>
#include <cstdio>
#include <random>

#include <gtest/gtest.h>

#include "ServerRules.h"

namespace {

// The rules "rollout SHARE -> in.txt / otherwise -> out.txt".
CServerRules RolloutRules(const std::string& share)
{
    CServerRules rules;
    std::string errors;
    EXPECT_TRUE(rules.Parse("r", "rollout " + share + " -> in.txt\notherwise -> out.txt\n", errors)) << errors;
    return rules;
}

// A fleet as the field has it: setup a few minutes after the machine started (tick counts of 2 to 10 minutes),
// three machines set up each second, each 20th a fresh install whose user key holds the only identity.
std::vector<Orn::CVarList> Fleet(int size)
{
    std::mt19937 random(7);
    std::vector<Orn::CVarList> fleet(size);
    for (int i = 0; i < size; ++i) {
        bool fresh = i % 20 == 0;
        std::string time = std::to_string(1700000000 + i / 3);
        fleet[i].Set("VR_Random", fresh ? "1" : std::to_string(120000 + random() % 480000).c_str());
        fleet[i].Set("VR_MachTime", fresh ? "1" : time.c_str());
        fleet[i].Set("VR_UserTime", std::to_string(1710000000 + i).c_str());
        fleet[i].Set("VR_MACAddr", "none");
    }
    return fleet;
}

// Chi-square of the places of identities over equal buckets of the rollout order.
double ChiSquare(const std::vector<std::string>& identities, int buckets)
{
    std::vector<int> counts(buckets);
    for (const std::string& identity : identities)
        ++counts[RolloutPoint(identity) * buckets / cRolloutPoints];
    double expected = double(identities.size()) / buckets, chi2 = 0;
    for (int n : counts)
        chi2 += (n - expected) * (n - expected) / expected;
    return chi2;
}

} // namespace

TEST(Rollout, IdentityComesFromTheMostLastingValues)
{
    const struct {
        const char *random, *machTime, *userTime, *macAddr, *identity;
    } rows[] = {
        {"123", "1700000000", "1710000000", "00AA", "m:123:1700000000"},
        {"1", "1700000000", "1710000000", "00AA", "u:1710000000"},  // no machine key: the user's time
        {"123", "ERROR", "1710000000", "00AA", "u:1710000000"},     // a value missing altogether
        {"1", "1", "1", "00AA", "a:00AA"},                           // a fresh install: the adapter
        {"1", "1", "1", "none", ""},                                 // several adapters: no identity
        {"", "", "", "", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(MachineIdentity(row.random, row.machTime, row.userTime, row.macAddr), row.identity) << row.identity;
}

TEST(Rollout, SharesHoldOverALargeFleetAndOnlyGrow)
{
    constexpr int cFleet = 60000;
    std::vector<Orn::CVarList> fleet = Fleet(cFleet);
    const char* const shares[] = {"0.5%", "2.5%", "10%", "50%", "99.99%"};
    std::vector<bool> inSmaller(cFleet, false);
    for (const char* share : shares) {
        CServerRules rules = RolloutRules(share);
        double p = std::stod(share) / 100;
        int inside = 0;
        for (int i = 0; i < cFleet; ++i) {
            bool in = rules.Choose(fleet[i]) == "in.txt";
            ASSERT_TRUE(in || !inSmaller[i]) << "machine " << i << " left the rollout at " << share;
            inSmaller[i] = in;
            inside += in;
        }
        // Five standard deviations of a fair draw: a fault shows, chance almost never does.
        double sigma = std::sqrt(cFleet * p * (1 - p));
        EXPECT_NEAR(inside, cFleet * p, 5 * sigma + 1) << share;
    }
}

TEST(Rollout, PlacesAreEvenAndKeptBetweenChecks)
{
    constexpr int cFleet = 60000;
    std::vector<Orn::CVarList> fleet = Fleet(cFleet);
    std::vector<std::string> identities, batch;
    for (const Orn::CVarList& machine : fleet)
        identities.push_back(MachineIdentity(machine));
    // A company's machines set up one a second, as fresh installs: a wave takes its share of them too.
    for (int i = 0; i < 2000; ++i)
        batch.push_back("u:" + std::to_string(1720000000 + i));
    // Above these, with 99 and 19 degrees of freedom, chance takes less than one run in 10,000.
    EXPECT_LT(ChiSquare(identities, 100), 160);
    EXPECT_LT(ChiSquare(batch, 20), 50);

    // The next check sends other counters and a later VR_LastUW; the machine keeps its place.
    CServerRules rules = RolloutRules("50%");
    for (int i = 0; i < 1000; ++i) {
        Orn::CVarList again = fleet[i];
        again.Set("VR_LastUW", "3");
        again.Set("VR_ProdVer", "3.20.0.0");
        EXPECT_EQ(rules.Choose(again), rules.Choose(fleet[i])) << i;
    }
}

TEST(Rollout, MachinesWithoutIdentityJoinOnlyAtTheFullShare)
{
    // A machine at 23.45 % is outside a rollout of exactly that share and inside the next larger one.
    Orn::CVarList machine;
    machine.Set("VR_UserTime", "1710000042");
    unsigned point = RolloutPoint("u:1710000042");
    char at[16], above[16];
    std::snprintf(at, sizeof at, "%u.%02u%%", point / 100, point % 100);
    std::snprintf(above, sizeof above, "%u.%02u%%", (point + 1) / 100, (point + 1) % 100);
    EXPECT_EQ(RolloutRules(at).Choose(machine), "out.txt") << at;
    EXPECT_EQ(RolloutRules(above).Choose(machine), "in.txt") << above;

    Orn::CVarList fresh;
    fresh.ParseQuery("VR_Random=1&VR_MachTime=1&VR_UserTime=1&VR_MACAddr=none", true);
    EXPECT_EQ(RolloutRules("99.99%").Choose(fresh), "out.txt");
    EXPECT_EQ(RolloutRules("100%").Choose(fresh), "in.txt");
    Orn::CVarList someone;
    someone.ParseQuery("VR_UserTime=1710000000", true);
    EXPECT_EQ(RolloutRules("0%").Choose(someone), "out.txt");
}

// Which machine a request comes from, for staged rollouts and the report of the machines in the field.
//
// The program sends four identity values. VR_Random (a tick count) and VR_MachTime (a time) come from the
// company's machine key, where the product's setup stores them once; the check itself never stores them, so
// they are "1" without that key and fresh on every check when the key holds neither. VR_UserTime comes from the
// user's key, and the first check stores it there; it is "1" without that key. VR_MACAddr is the first network
// adapter's address, "none" on a machine with several, and changes with the network hardware.
//
// So the identity is the machine pair when both are set, else the user's time, else the adapter's address; a
// request whose values are all "1" (a fresh install without the company's keys) and "none" has no identity.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "VarList.h"

// Places in the rollout order: a share of machines is counted in hundredths of a percent.
constexpr unsigned cRolloutPoints = 10000;

// "m:RANDOM:MACHTIME", "u:USERTIME" or "a:MACADDR" from the values a request carries (empty when absent); empty
// when it carries no usable one.
std::string MachineIdentity(std::string_view random, std::string_view machTime, std::string_view userTime,
                            std::string_view macAddr);
std::string MachineIdentity(const Orn::CVarList& params);

// A 64-bit hash of an identity, spread evenly whatever the identities look like.
std::uint64_t IdentityHash(const std::string& identity);

// The machine's place in the rollout order, 0 to cRolloutPoints - 1: the same for every rule and release, so a
// machine inside a share stays inside every larger one.
unsigned RolloutPoint(const std::string& identity);

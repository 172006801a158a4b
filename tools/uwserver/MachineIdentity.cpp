// Machine identities from request parameters, and their place in the rollout order.
#include "MachineIdentity.h"

namespace {

// "1" is what the program sends when it could not open the key that holds the value, "ERROR" when the value
// was missing altogether.
bool IsSet(std::string_view value, std::string_view unset = "1")
{
    return !value.empty() && value != unset && value != "ERROR";
}

std::string_view Value(const Orn::CVarList& params, const char* name)
{
    const char* value = params.Find(name);
    return value ? value : "";
}

} // namespace

std::string MachineIdentity(std::string_view random, std::string_view machTime, std::string_view userTime,
                            std::string_view macAddr)
{
    std::string identity;
    if (IsSet(random) && IsSet(machTime))
        identity.append("m:").append(random).append(":").append(machTime);
    else if (IsSet(userTime))
        identity.append("u:").append(userTime);
    else if (IsSet(macAddr, "none"))
        identity.append("a:").append(macAddr);
    return identity;
}

std::string MachineIdentity(const Orn::CVarList& params)
{
    return MachineIdentity(Value(params, "VR_Random"), Value(params, "VR_MachTime"), Value(params, "VR_UserTime"),
                           Value(params, "VR_MACAddr"));
}

// FNV-1a, then a 64-bit finaliser so that identities differing in one digit land far apart.
std::uint64_t IdentityHash(const std::string& identity)
{
    std::uint64_t h = 0xcbf29ce484222325u;
    for (unsigned char c : identity) {
        h ^= c;
        h *= 0x100000001b3u;
    }
    h ^= h >> 30;
    h *= 0xbf58476d1ce4e5b9u;
    h ^= h >> 27;
    h *= 0x94d049bb133111ebu;
    return h ^ (h >> 31);
}

unsigned RolloutPoint(const std::string& identity)
{
    return static_cast<unsigned>(IdentityHash(identity) % cRolloutPoints);
}

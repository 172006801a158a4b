#!/usr/bin/env python3
"""Writes a synthetic uwserver record: LINES request lines from MACHINES machines over DAYS days, as the server
writes them (one JSON object a line, in time order), with the product's versions moving to the newest over the
days. Deterministic for a given seed.

    make_record.py LINES MACHINES DAYS OUT [SEED]
"""
import random
import sys

VERSIONS = ["3.20.0.0", "3.10.99.0", "3.10.0.0", "3.0.0.102", "2.90.0.0"]
SYSTEMS = [("10.0", "64"), ("10.0", "32"), ("6.3", "64"), ("6.1", "64"), ("6.1", "32")]
LANGUAGES = ["en-US", "de-DE", "en-GB", "fr-FR", "de-AT", "es-ES", "it-IT", "ja-JP", "nl-NL", "pt-BR", "pl-PL"]


def machine(rng, n):
    """One machine's lasting facts: its identity values, system and language; every 50th is a fresh install."""
    fresh = n % 50 == 0
    return {
        "random": "1" if fresh else str(rng.randrange(1, 2**31)),
        "mach": "1" if fresh else str(1600000000 + rng.randrange(10**8)),
        "user": "1" if fresh else str(1600000000 + rng.randrange(10**8)),
        "mac": "%012X" % rng.randrange(2**48) if n % 100 else "none",
        "system": SYSTEMS[min(int(rng.expovariate(1.2)), len(SYSTEMS) - 1)],
        "lang": LANGUAGES[min(int(rng.expovariate(0.5)), len(LANGUAGES) - 1)],
        "version": min(int(rng.expovariate(0.9)), len(VERSIONS) - 1),
    }


def reply(version_index, lang, rng):
    if version_index >= 3:
        return "required.txt"
    if version_index >= 1:
        return "update-de.txt" if lang.startswith("de-") else "update.txt"
    return "tips.txt" if rng.random() < 0.3 else "uptodate.txt"


def line(rng, m, day, second, days):
    # Machines update over the days: the later the day, the likelier the newest version.
    if m["version"] > 0 and rng.random() < 0.5 * day / max(days, 1):
        m["version"] -= 1
    version = VERSIONS[m["version"]]
    ts = "2024-05-%02dT%02d:%02d:%02d.%03dZ" % (day + 1, second // 3600, second // 60 % 60, second % 60,
                                                rng.randrange(1000))
    params = ('"VR_ShowTips":"1","VR_LastUW":"%d","VR_LastTip":"-1","VR_AutoUW":"1","VR_MachTime":"%s",'
              '"VR_UserTime":"%s","VR_Random":"%s","VR_MACAddr":"%s","VR_OS":"WIN","VR_OSVer":"%s",'
              '"VR_OSLang":"%s","VR_OSBits":"%s","VR_Product":"NBW","VR_ProdLang":"EN","VR_ProdVer":"%s",'
              '"VR_Vendor":"VAN","PagesTotal":"%d","EqTotal":"%d","MenuTotal":"%d","Notify":"1"'
              % (rng.randrange(30), m["mach"], m["user"], m["random"], m["mac"], m["system"][0], m["lang"],
                 m["system"][1], version, rng.randrange(500), rng.randrange(50), rng.randrange(20)))
    if rng.random() < 0.002:
        return ('{"time":"%s","method":"GET","host":"versioncheck.vantrel.com","path":"/updatewatch/updatewatch.aspx",'
                '"params":{%s,"VR_Nonce":"bad"},"status":400,"reply":null,"error":"VR_Nonce must be 32 hexadecimal '
                'digits"}\n' % (ts, params))
    return ('{"time":"%s","method":"GET","host":"versioncheck.vantrel.com","path":"/updatewatch/updatewatch.aspx",'
            '"params":{%s},"status":200,"reply":"%s"}\n' % (ts, params, reply(m["version"], m["lang"], rng)))


def main():
    lines, machines, days, out = int(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3]), sys.argv[4]
    rng = random.Random(int(sys.argv[5]) if len(sys.argv) > 5 else 1)
    fleet = [machine(rng, n) for n in range(machines)]
    per_day = lines // days
    with open(out, "w") as f:
        for day in range(days):
            count = per_day + (lines % days if day == days - 1 else 0)
            seconds = sorted(rng.randrange(86400) for _ in range(count))
            f.writelines(line(rng, fleet[rng.randrange(machines)], day, s, days) for s in seconds)


if __name__ == "__main__":
    main()

// The product settings that a reply script may change.
#include "SettableNames.h"

const char* const ProductSettableNames[] = {
    "DoUpdateWatchs", "UpdateWatchMenuItem", "UpdateWatchFreq", "ShowTips", "ShowTipsMenuItem",
    "SplashScreen",   "CommandMenu",         "LastTip",         nullptr,
};

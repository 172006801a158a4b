// The product settings that a reply script may change with `set`, besides the script's own "$" names.
#pragma once

// Null-terminated.
extern const char* const ProductSettableNames[];

#ifndef TAVRIX_EXAMPLES_BALANCE_DEMO_H
#define TAVRIX_EXAMPLES_BALANCE_DEMO_H

#include <string>

// Casts a colour image (a sample photograph when the shared data directory is
// there, a synthesised chart otherwise), balances it with each of the six
// estimators and writes the cast and every balanced image as PNGs into outDir.
// Prints the channel means before and after. Returns 0 on success.
int RunBalanceDemo(const std::string& outDir);

#endif

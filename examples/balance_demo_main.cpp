// Standalone driver for the balance demonstration: balance_demo [output directory].
#include "balance_demo.h"

int main(int argc, char** argv) { return RunBalanceDemo(argc > 1 ? argv[1] : "."); }

// The reader fuzzing harness, shared by the libFuzzer targets and by the
// replay of saved inputs that runs with the ordinary tests.
#pragma once

#include <cstddef>
#include <cstdint>

bool fuzz_select(const char *kind); // prices, abbrevs, customers, balances, ...
void fuzz_setup(const char *demo_dir);
int fuzz_one(const uint8_t *data, size_t size);

#pragma once

#include <cstdint>

// The blend factor an effect's integer blend parameter selects: 0 zero, 1 one,
// 2 inverse source alpha, 3 source alpha. A choice outside 0..3 selects nothing
// and the result is `current`, so a bad value from a project can't index past
// the table.
int32_t blendFactorOfChoice(int32_t choice, int32_t current);

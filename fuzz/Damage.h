#pragma once

#include "tests/support/RawFile.h"

#include <cstdint>

/// Changes a field or a block of a block file, as `seed` says. Mostly the file stays one that
/// opens, so that what lies deeper is reached: block numbers and signatures are set right again,
/// and the digest in the record of free blocks in some of the cases.
void Damage(RawFile& file, std::uint32_t seed);

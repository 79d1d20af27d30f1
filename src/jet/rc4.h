#pragma once
// RC4 keystream, used by Jet to mask the header page and, in encoded databases, every
// other page. XOR is symmetric: the same call masks and unmasks.

#include "core/bytes.h"

namespace px::jet {

// XORs `data` in place with the RC4 keystream of `key`.
void Rc4Xor(Bytes key, MutableBytes data);

}  // namespace px::jet

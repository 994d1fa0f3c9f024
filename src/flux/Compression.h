#pragma once

// zlib streams (RFC 1950) for the stored forms: written by zlib's compress at the default level,
// so that the bytes are those the formats describe; read back by libdeflate, which decodes the
// same streams faster than zlib's uncompress (by about a fifth on 16 KiB blocks of words, a few
// per cent on a compressed text record: bench_compression measures both).

#include <cstdint>
#include <vector>

namespace sdd::detail {

// Compresses n bytes into `destination` (resized to fit); throws OperationInvalide if zlib
// fails, which it does only without memory.
void CompresseZlib(const uint8_t* source, uint64_t n, std::vector<uint8_t>& destination);

// Decodes one whole zlib stream from [source, source + n) into at most `capacite` bytes and
// returns their number; false when the stream is damaged, cut short, fails its checksum or
// would decode to more than `capacite` bytes. Any thread may call it.
bool DecompresseZlib(const uint8_t* source, uint64_t n, uint8_t* destination, uint64_t capacite,
                     uint64_t* obtenus);

}  // namespace sdd::detail

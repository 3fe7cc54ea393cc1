// The code conversion of written text: from EUC to the codes of a record's encode word.
#pragma once

#include <cstdint>

// The values of a record's encode word.
enum pfa_encode : std::uint32_t {
    PFA_ENCODE_NONE = 0, // bytes are written as they are
    PFA_ENCODE_WIDE = 1, // the decoded 16-bit codes
    PFA_ENCODE_JIS = 2,  // JIS X 0208
    PFA_ENCODE_SJIS = 3, // Shift JIS
};

constexpr int PFA_WRITE_CHUNK = 1024;

// Converts as many whole characters of the `count` bytes at `text` as fit in the chunk and stores
// the number of bytes they took in *taken. Returns the number of bytes put into the chunk, which a
// zero byte follows; 0 if the first character cannot be read. `encode` must not be PFA_ENCODE_NONE.
//
// A character of one byte is copied. Of any other the 16-bit code is written, high byte first; a
// high byte of 0 is left out except with PFA_ENCODE_WIDE.
int pfa_write_convertor(std::uint32_t encode, const char *text, int count,
                        char chunk[PFA_WRITE_CHUNK + 1], int *taken);

// The code conversion of written text: EUC text in, the codes of a record's encode word out.
#pragma once

#include <cstdint>

// The values of a record's encode word.
enum pfa_encode : std::uint32_t {
    PFA_ENCODE_NONE = 0,
    PFA_ENCODE_WIDE = 1,
    PFA_ENCODE_JIS = 2,
    PFA_ENCODE_SJIS = 3,
};

constexpr int PFA_WRITE_CHUNK = 1024;

// Converts as many whole characters of the count bytes at text as fill a chunk. *taken receives the
// bytes of text used up; the result is the bytes put into the chunk, 0 when the first character
// cannot be read. A zero byte follows them and does not count.
//
// A character of one byte is copied. Of any other the 16-bit code is written high byte first, with
// PFA_ENCODE_JIS (JIS X 0208) and PFA_ENCODE_SJIS without a high byte of 0.
int pfa_write_convertor(std::uint32_t encode, const char *text, int count,
                        char chunk[PFA_WRITE_CHUNK + 1], int *taken);

// Converts written text, a chunk at a time.
#include "coretools/ctpfa/pfawrite_convertor.h"

#include "coretools/ctstrutil/euc_codes.h"

namespace {

// Stores the bytes of a multi-byte character and returns their number.
int encode_character(std::uint32_t encode, vek_wchar wide, unsigned char out[2]) {
    const vek_wchar code = encode == PFA_ENCODE_WIDE ? wide : wc_euc2jis(wide);
    out[0] = static_cast<unsigned char>(code >> 8 & 0xff);
    out[1] = static_cast<unsigned char>(code & 0xff);
    if (encode == PFA_ENCODE_SJIS) {
        jis2sjis(&out[0], &out[1]);
    }
    if (encode != PFA_ENCODE_WIDE && out[0] == 0) {
        out[0] = out[1];
        return 1;
    }
    return 2;
}

} // namespace

int pfa_write_convertor(std::uint32_t encode, const char *text, int count,
                        char chunk[PFA_WRITE_CHUNK + 1], int *taken) {
    int length = 0;
    int used = 0;
    while (used < count) {
        vek_wchar wide = 0;
        const int size = euc_mb2wc(&wide, text + used, count - used);
        if (size == 0) {
            break;
        }
        unsigned char bytes[2] = {static_cast<unsigned char>(text[used])};
        const int bytes_out = size == 1 ? 1 : encode_character(encode, wide, bytes);
        if (length + bytes_out > PFA_WRITE_CHUNK) {
            break;
        }
        for (int i = 0; i < bytes_out; ++i) {
            chunk[length++] = static_cast<char>(bytes[i]);
        }
        used += size;
    }
    chunk[length] = '\0';
    *taken = used;
    return length;
}

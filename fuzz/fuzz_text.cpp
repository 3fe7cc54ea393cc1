// Any bytes as EUC and as wide text: every conversion makes progress and stays inside its text, and
// whole characters are written back as they were read.
#include "coretools/ctplatform/wide_text.h"
#include "coretools/ctstrutil/euc_codes.h"
#include "coretools/ctwcfun/wstr_ret.h"
#include "coretools/genutil1/invstr.h"
#include "fuzz/fuzz_check.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

int character_length(char first) {
    const unsigned char byte = static_cast<unsigned char>(first);
    if (byte < 0x80) {
        return 1;
    }
    return byte == 0x8f ? 3 : 2;
}

// Reads the text a character at a time. True if every character is whole and its packing loses
// nothing (the packing drops the high bit of a second or third byte).
bool walk(const std::string &text) {
    bool whole = true;
    for (size_t at = 0; at < text.size();) {
        // A copy of exactly the rest, so that the address checks see a read past it.
        const std::vector<char> rest(text.begin() + static_cast<long>(at), text.end());
        const int left = static_cast<int>(rest.size());
        const int length = character_length(rest[0]);
        vek_wchar wide = -1;
        const int used = euc_mb2wc(&wide, rest.data(), left);
        if (used == 0) {
            FUZZ_CHECK(left < length && wide == -1);
            return false;
        }
        FUZZ_CHECK(used <= length && used <= left && wide >= 0 && wide <= 0xffff);
        const vek_wchar jis = wc_euc2jis(wide);
        FUZZ_CHECK(wide < 0x100 ? jis == wide : (jis & ~0x7f7f) == 0);
        whole = whole && used == length;
        for (int i = 1; i < used; ++i) {
            whole = whole && (rest[static_cast<size_t>(i)] & 0x80) != 0;
        }
        at += static_cast<size_t>(used);
    }
    return whole;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size) {
    std::string text(reinterpret_cast<const char *>(data), size);
    walk(text);
    text.resize(std::strlen(text.c_str()));
    const bool whole = walk(text);

    std::vector<vek_wchar> wide(text.size() + 1);
    FUZZ_CHECK(strtows(wide.data(), text.c_str()) == wide.data());
    const int length = wslen(wide.data());
    FUZZ_CHECK(length >= 0 && static_cast<size_t>(length) <= text.size());
    std::vector<char> back(static_cast<size_t>(length) * 3 + 1);
    FUZZ_CHECK(wstostr(back.data(), wide.data()) == back.data());
    FUZZ_CHECK(!whole || text == back.data());

    const vek_wchar *kept = wstr_ret(text.c_str());
    FUZZ_CHECK(kept != nullptr && wslen(kept) == length);
    const int invalid = invalid_name_idx(kept);
    FUZZ_CHECK(invalid >= 0 && invalid <= length);
    FUZZ_CHECK(invalid_string(kept) == (kept[invalid] != 0));
    return 0;
}

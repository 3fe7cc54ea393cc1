// Formatting: compares one directive between two pieces of plain text with the C library's result,
// and checks that any bytes as a format give a text or are refused.
#include "coretools/ctwcfun/vek_vsprintf.h"
#include "fuzz/fuzz_check.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

namespace {

const char *format_with_engine(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const char *text = vek_vsprintf(nullptr, format, arguments);
    va_end(arguments);
    return text;
}

std::string format_with_library(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text(4096, '\0');
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    FUZZ_CHECK(length >= 0 && static_cast<size_t>(length) < text.size());
    text.resize(static_cast<size_t>(length));
    return text;
}

std::string plain_text(FuzzedDataProvider &input) {
    std::string text = input.ConsumeRandomLengthString(20);
    for (char &byte : text) {
        if (byte == '%' || byte == '\0' || (byte & 0x80) != 0) {
            byte = '.';
        }
    }
    return text;
}

// Returns "%", flags, width and precision. `stars` counts the arguments that they take.
std::string directive_head(FuzzedDataProvider &input, bool numeric, int &stars) {
    std::string head = "%";
    for (const char flag : {'-', '+', ' ', '0'}) {
        if ((numeric || flag == '-') && input.ConsumeBool()) {
            head += flag;
        }
    }
    stars = 0;
    if (input.ConsumeBool()) {
        head += '*';
        ++stars;
    } else if (input.ConsumeBool()) {
        head += std::to_string(input.ConsumeIntegralInRange(1, 300));
    }
    if (input.ConsumeBool()) {
        head += '.';
        if (stars == 1 && input.ConsumeBool()) {
            head += '*';
            ++stars;
        } else {
            head += std::to_string(input.ConsumeIntegralInRange(0, 60));
        }
    }
    return head;
}

template <class T>
void compare(const std::string &format, int stars, int width, int precision, T value) {
    const char *text;
    std::string expected;
    if (stars == 2) {
        text = format_with_engine(format.c_str(), width, precision, value);
        expected = format_with_library(format.c_str(), width, precision, value);
    } else if (stars == 1) {
        text = format_with_engine(format.c_str(), width, value);
        expected = format_with_library(format.c_str(), width, value);
    } else {
        text = format_with_engine(format.c_str(), value);
        expected = format_with_library(format.c_str(), value);
    }
    FUZZ_CHECK(text != nullptr && expected == text);
}

void one_directive(FuzzedDataProvider &input) {
    static const char *const integers[] = {"d", "c", "i", "o", "u", "x", "X"};
    static const char *const longs[] = {"ld", "li", "lo", "lu", "lx", "lX"};
    static const char *const doubles[] = {"f", "lf", "e", "g", "E", "G"};

    const int kind = input.ConsumeIntegralInRange(0, 3);
    int stars = 0;
    const std::string head = directive_head(input, kind < 3, stars);
    const int width = input.ConsumeIntegralInRange(-300, 300);
    const int precision = input.ConsumeIntegralInRange(-2, 60);
    const std::string before = plain_text(input);
    const std::string after = plain_text(input);
    const auto whole = [&](const char *conversion) { return before + head + conversion + after; };

    if (kind == 0) {
        const char *conversion = input.PickValueInArray(integers);
        int value = input.ConsumeIntegral<int>();
        if (conversion[0] == 'c' && (value & 0xff) == 0) {
            value = 'c'; // a zero character would end the text
        }
        compare(whole(conversion), stars, width, precision, value);
    } else if (kind == 1) {
        compare(whole(input.PickValueInArray(longs)), stars, width, precision,
                input.ConsumeIntegral<long>());
    } else if (kind == 2) {
        const std::string format = whole(input.PickValueInArray(doubles));
        const double value = input.ConsumeFloatingPoint<double>();
        compare(format, stars, width, precision, std::fabs(value) < 1e-30 ? 0.0 : value);
    } else {
        const std::string format = whole("s");
        const std::string value = input.ConsumeRandomLengthString(2000);
        compare(format, stars, width, precision, value.c_str());
    }
}

// Formats any bytes whose directives take only integers, and no more of them than are passed.
void raw_format(const std::string &bytes) {
    const std::string format = bytes.c_str();
    int arguments = 0;
    for (const char byte : format) {
        arguments += byte == '*' || byte == '%';
        if (std::strchr("fFsSwWeEgGpP", byte) != nullptr) {
            return;
        }
    }
    if (arguments > 12) {
        return;
    }
    const char *text =
        format_with_engine(format.c_str(), 1L, 2L, 3L, 4L, 5L, 6L, 7L, 8L, 9L, 10L, 11L, 12L);
    if (format.size() > 500) {
        FUZZ_CHECK(text == nullptr);
    } else if (format.find('%') == std::string::npos) {
        FUZZ_CHECK(text != nullptr && format == text);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size) {
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        one_directive(input);
    } else {
        raw_format(input.ConsumeRemainingBytesAsString());
    }
    return 0;
}

// The formatting engine, with the system's snprintf as the judge where both know a directive.
#include "coretools/apfutil/path_to_os.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/dbg_msg_tool.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctwcfun/conver_spec.h"
#include "coretools/ctwcfun/vek_vsprintf.h"
#include "coretools/ctwcfun/wstr_ret.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr char REFUSED[] = "(refused)";

char *format_into(char *destination, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    char *result = vek_vsprintf(destination, format, arguments);
    va_end(arguments);
    return result;
}

template <class... Arguments>
std::string formatted(const char *format, Arguments... arguments) {
    const char *text = format_into(nullptr, format, arguments...);
    return text != nullptr ? text : REFUSED;
}

template <class... Arguments>
std::string judged(const char *format, Arguments... arguments) {
    char text[20000];
    EXPECT_LT(std::snprintf(text, sizeof text, format, arguments...), 20000);
    return text;
}

TEST(Format, Examples) {
    const char *const none = nullptr;
    EXPECT_EQ(formatted("%5.2f|%5.2f", 1e-31, -1e-31), " 0.00| 0.00");
    EXPECT_EQ(formatted("%g %g", 1e-30, -1e-30), "1e-30 -1e-30");
    EXPECT_EQ(formatted("%-*d|%.*s|%*.*f", 3, 7, -1, "whole", -9, -1, 0.5), "7  |whole|0.500000 ");
    EXPECT_EQ(formatted("%pf %pd %12pf|%.3pd", "a|b\\c", "/a/b", "x\\y", "a|b\\c"),
              "a/b/c /a/b          x/y|a/b");
    EXPECT_EQ(formatted("a%cb%3c|", 0, 0), "ab  |");
    EXPECT_EQ(formatted("<%s%ws%pf%5s>", none, none, none, none), "<     >");
    EXPECT_EQ(formatted("%%%%s%%"), "%%s%");
    // Multi-byte characters stay whole, also where the format ends inside one.
    EXPECT_EQ(formatted("\xb0%d%d \x8f%%%d \x8e%d%d", 7, 8, 9), "\xb0%d7 \x8f%%8 \x8e%d9");
    EXPECT_EQ(formatted("\x8f%"), "\x8f%");
}

// Upper-case letters must neither change the type of the argument nor be lost where they show.
TEST(Format, UpperCaseConversions) {
    EXPECT_EQ(formatted("%D %I %O %U %C %S", 1, 2, 8, 3, 'c', "text"), "1 2 10 3 c text");
    EXPECT_EQ(formatted("%X %x %lX %LX %Lx %LD", 255, 255, 255L, 255L, 255L, -7L),
              "FF ff FF FF ff -7");
    EXPECT_EQ(formatted("%LF %Lf %lF %F", 1.5, 2.5, DBL_MAX * 10, DBL_MAX * 10),
              "1.500000 2.500000 INF INF");
    EXPECT_EQ(formatted("%WS %wS %PD %Pf", wstr_ret("wide"), wstr_ret("w"), "a\\b", "c|d"),
              "wide w a/b c/d");
}

TEST(Format, RefusedDirectives) {
    std::istringstream formats("%hd % a% %5 %- %. %lc %ls %ll %le %lld %p %n %a %w %1$d %5% "
                               "%5-d %.-3d %1.2.3d %*-d %\x8f\x80\x80z %5\xe4 %jd %zu %m "
                               "%99999999999d %2047984d %.2047985d");
    for (std::string format; formats >> format;) {
        EXPECT_EQ(formatted(format.c_str(), 1, 2), REFUSED) << format;
        EXPECT_EQ(formatted("still %s", "usable"), "still usable");
    }
    EXPECT_EQ(formatted("%*d", INT_MIN, 1), REFUSED);
    EXPECT_EQ(formatted("%.*d", INT_MAX, 1), REFUSED);
    EXPECT_EQ(formatted(("%" + std::string(21, '-') + "d").c_str(), 5), "5");
    EXPECT_EQ(formatted(("%" + std::string(22, '-') + "d").c_str(), 5), REFUSED);
    EXPECT_EQ(formatted(std::string(500, 'x').c_str()), std::string(500, 'x'));
    EXPECT_EQ(formatted(std::string(501, 'x').c_str()), REFUSED);
}

TEST(Format, NothingIsCutHoweverLong) {
    EXPECT_EQ(formatted("%.501d|%f", 1, DBL_MAX), judged("%.501d|%f", 1, DBL_MAX));
    const std::string widest(30000, '\x8f'); // no character takes more bytes than these
    EXPECT_EQ(formatted("%ws", wstr_ret(widest.c_str())), widest);
    // Only an array has a limit, of about two million bytes.
    const std::string half(1200000, 'x');
    EXPECT_EQ(formatted("%1200001s", half.c_str()), ' ' + half);
    EXPECT_EQ(formatted("%s%s", half.c_str(), half.c_str()), REFUSED);
}

TEST(Format, DestinationMayBeAnArgument) {
    char text[40] = "tail";
    EXPECT_EQ(format_into(text, "head-%s", text), text);
    EXPECT_STREQ(text, "head-tail");
    EXPECT_EQ(format_into(text, "%s %hd", "x", 1), nullptr);
    EXPECT_STREQ(text, "head-tail");
}

template <class... Arguments>
void compare(const std::string &format, Arguments... arguments) {
    const std::string right = judged(format.c_str(), arguments...);
    ASSERT_EQ(formatted(format.c_str(), arguments...), right) << format;
}

TEST(Format, RandomDirectivesAgreeWithSnprintfOnManyThreads) {
    run_on_threads(4, [](int seed) {
        std::mt19937_64 random(static_cast<unsigned>(seed));
        const std::vector<std::string> sizes = {"",   "1",  "17",   "640",  ".",
                                                ".0", ".3", ".510", "17.3", "640.510"};
        const auto directive = [&](const char *modifier, const std::string &letters) {
            std::string text = "before %";
            while (random() % 3 == 0) {
                text += "-+ #0'"[random() % 6];
            }
            text += sizes[random() % sizes.size()] + modifier;
            return text + letters[random() % letters.size()] + " after";
        };
        for (int i = 0; i < 1500; ++i) {
            const int width = static_cast<int>(random() % 41) - 20;
            const int precision = static_cast<int>(random() % 41) - 20;
            const auto number = static_cast<std::int64_t>(random()) >> random() % 64;
            const double real = std::ldexp(double(number), 3 * precision);
            const std::string text(random() % 700, 'y');
            compare(directive("", "diouxX"), static_cast<int>(number));
            compare(directive("l", "diouxX"), static_cast<long>(number));
            compare(directive("", "fFeEgG"), real);
            compare(directive("l", "f"), real);
            compare(directive("", "c"), 'A' + width);
            compare(directive("", "s"), text.c_str());
            compare("%*.*d|%+*.*f|%*.*s", width, precision, static_cast<int>(number), precision,
                    width, real, precision, width, text.c_str());
        }
    });
}

TEST(Format, PrecisionKeepsCharactersWhole) {
    EXPECT_EQ(formatted("%6.3ws|", wstr_ret("\xb0\xa1\xb0\xa2")), "    \xb0\xa1|");
    const struct {
        const char *directive;
        std::string text, kept;
    } rows[] = {
        {"%.3s", "abcd", "abc"},
        {"%-5.5s", "a\xb0\xa1\xb0\xa2z", "a\xb0\xa1\xb0\xa2"},
        {"%.5s", "\x8f\xb0\xa1\x8f\xb0\xa2", "\x8f\xb0\xa1"},
        {"%.0s", "\x8f", "\x8f"}, // one character is always kept
        {"%.2s", "a\x8f", "a\x8f"},
    };
    for (const auto &[directive, text, kept] : rows) {
        std::vector<char> cut(text.c_str(), text.c_str() + text.size() + 1); // no byte to spare
        take_care_of_precision(directive, cut.data());
        EXPECT_EQ(cut.data(), kept) << directive;
    }
}

// The report used to format into the text that was being built.
TEST(Format, OverlongPathIsReportedAndPrintsEmpty) {
    const child_result child = run_in_child([] {
        const std::string longest(255, 'x');
        const char *buffer = format_into(nullptr, "");
        dbg_fprintf(nullptr, "");
        EXPECT_EQ(format_into(nullptr, ""), buffer); // a message gives its buffer back
        dbg_set_allow_print(1);
        EXPECT_EQ(vek_printf("<%pf|%pd>\n", (longest + 'x').c_str(), longest.c_str()), 259);
    });
    EXPECT_EQ(child.out, "<|" + std::string(255, 'x') + ">\n");
    EXPECT_EQ(child.err, "\n*** FATAL ERROR in WSTRCOPY_X : ***\n\tOVERFLOW.\n");
}

// For a thread that has no buffers yet. The text is right or not made, and right once there is
// memory again.
void format_without_memory(long nth, bool persistently, bool trapped) {
    const std::string wide(900, 'w');
    const vek_wchar *wide_text = wstr_ret(wide.c_str());
    const std::string right = "     7 " + wide;
    char text[1000] = "";
    bool made = false;
    const auto format = [&] { // under a trap frame the thread has memory of its own already
        fail_allocation(nth, persistently);
        made = format_into(text, "%6d %ws", 7, wide_text) != nullptr;
    };
    trapped ? (void)call_with_memory_trap(format) : format();
    fail_allocation(NO_FAILURE, false);
    EXPECT_EQ(text, made ? right : "") << nth;
    EXPECT_EQ(formatted("%6d %ws", 7, wide_text), right) << nth;
}

TEST(Format, ExhaustedMemoryGivesNullAndIsForgotten) {
    for (const int mode : {0, 1, 2, 3}) {
        const child_result child = run_in_child([mode] {
            set_verbose_mode(1); // reports of the failure format, too
            set_run_mode(RUN_MODE_PFA_TRACE);
            set_dbg_err_crash(DBG_ERR_CONTINUES);
            for (long nth = 0; nth < 40; ++nth) {
                run_on_threads(1, [mode, nth](int) {
                    format_without_memory(nth, (mode & 1) != 0, (mode & 2) != 0);
                });
            }
        });
        EXPECT_EQ(child.status, 0) << mode << child.out << child.err;
        EXPECT_NE(child.out.find("out of virtual memory"), std::string::npos);
    }
}

TEST(WideText, BuffersTakeTurnsAndGrow) {
    const vek_wchar *first = wstr_ret("\xb0\xa1x");
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(wstr_ret("other"), first);
    }
    EXPECT_EQ(first[0], 0xb0a1);
    EXPECT_EQ(wstr_ret("fifth"), first);
    for (const std::size_t length : {259, 260, 5000}) {
        EXPECT_EQ(wslen(wstr_ret(std::string(length, 'x').c_str())), int(length));
    }
}

TEST(PathToOs, ChangesEverySeparatorForAKnownHost) {
    char text[] = "a|b\\c/d";
    pfu_path_to_os(text, 0);
    EXPECT_STREQ(text, "a|b\\c/d");
    pfu_path_to_os(text, PFU_HOST_BACKSLASH);
    EXPECT_STREQ(text, "a\\b\\c\\d");
    pfu_path_to_os(nullptr, PFU_HOST_POSIX);
}

} // namespace

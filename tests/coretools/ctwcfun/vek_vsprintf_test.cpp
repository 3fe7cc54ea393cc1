// The formatting engine, with the system's snprintf as the judge where both know a directive.
#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <csetjmp>
#include <cstdarg>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/apfutil/path_to_os.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/dbg_msg_tool.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctwcfun/conver_spec.h"
#include "coretools/ctwcfun/vek_vsprintf.h"
#include "coretools/ctwcfun/wstr_ret.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

namespace {

constexpr char REFUSED[] = "(refused)";

std::string formatted(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const char *text = vek_vsprintf(nullptr, format, arguments);
    va_end(arguments);
    return text != nullptr ? text : REFUSED;
}

char *format_into(char *destination, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    char *result = vek_vsprintf(destination, format, arguments);
    va_end(arguments);
    return result;
}

template <class... Arguments>
std::string judged(const char *format, Arguments... arguments) {
    std::vector<char> text(20000);
    const int length = std::snprintf(text.data(), text.size(), format, arguments...);
    EXPECT_LT(length, 20000);
    return text.data();
}

TEST(Format, Examples) {
    const char *const none = nullptr;
    EXPECT_EQ(formatted("%d%%", 5), "5%");
    EXPECT_EQ(formatted("%5.2f|%5.2f", 1e-31, -1e-31), " 0.00| 0.00");
    EXPECT_EQ(formatted("%g %g", 1e-30, -1e-30), "1e-30 -1e-30");
    EXPECT_EQ(formatted("%*d", 4, 7), "   7");
    EXPECT_EQ(formatted("%-*d|", 3, 7), "7  |");
    EXPECT_EQ(formatted("%*d|", -3, 7), "7  |");
    EXPECT_EQ(formatted("%.*s|%*.*f", -1, "whole", 7, -1, 0.5), "whole|0.500000");
    EXPECT_EQ(formatted("%.*s", INT_MAX, "whole"), "whole");
    EXPECT_EQ(formatted("%pf %pd %12pf|%.3pd", "a|b\\c", "/a/b", "x\\y", "a|b\\c"),
              "a/b/c /a/b          x/y|a/b");
    EXPECT_EQ(formatted("a%cb%3c|", 0, 0), "ab  |");
    EXPECT_EQ(formatted("<%s%ws%pf%5s>", none, none, none, none), "<     >");
    EXPECT_EQ(formatted(""), "");
    EXPECT_EQ(formatted("%%%%s%%"), "%%s%");
    // Multi-byte characters stay whole, also where the format ends inside one.
    EXPECT_EQ(formatted("\xb0%d%d \x8f%%%d \x8e%d%d", 7, 8, 9), "\xb0%d7 \x8f%%8 \x8e%d9");
    EXPECT_EQ(formatted("x\x8f") + formatted("\x8f%") + formatted("\xb0"), "x\x8f\x8f%\xb0");
    EXPECT_EQ(formatted("%ld %lX", LONG_MIN, ULONG_MAX), judged("%ld %lX", LONG_MIN, ULONG_MAX));
}

// Upper-case letters must neither change the type of the argument nor be lost where they show.
TEST(Format, UpperCaseConversions) {
    EXPECT_EQ(formatted("%D %I %O %U %C %S", 1, 2, 8, 3, 'c', "text"), "1 2 10 3 c text");
    EXPECT_EQ(formatted("%X %x %lX %LX %Lx %LD", 255, 255, 255L, 255L, 255L, -7L),
              "FF ff FF FF ff -7");
    EXPECT_EQ(formatted("%E %G %g", 1.5, 1e-9, 1e-9), "1.500000E+00 1E-09 1e-09");
    EXPECT_EQ(formatted("%LF %Lf %lF %F", 1.5, 2.5, DBL_MAX * 10, DBL_MAX * 10),
              "1.500000 2.500000 INF INF");
    EXPECT_EQ(formatted("%WS %wS %PD %Pf", wstr_ret("wide"), wstr_ret("w"), "a\\b", "c|d"),
              "wide w a/b c/d");
}

TEST(Format, RefusedDirectives) {
    std::istringstream formats("%hd % a% %5 %- %. %lc %ls %ll %le %lld %p %n %a %w %1$d %'d %5% "
                               "%5-d %.-3d %1.2.3d %*-d %\x8f\x80\x80z %5\xe4 %jd %zu %m "
                               "%99999999999d %2047984d %.2047985d");
    for (std::string format; formats >> format;) {
        EXPECT_EQ(formatted(format.c_str(), 1, 2), REFUSED) << format;
        EXPECT_EQ(formatted("still %s", "usable"), "still usable");
    }
    EXPECT_EQ(formatted("%*d", INT_MIN, 1), REFUSED);
    EXPECT_EQ(formatted("%.*d", INT_MAX, 1), REFUSED);
}

TEST(Format, LimitsOfFormatAndDirective) {
    EXPECT_EQ(formatted(std::string(500, 'x').c_str()), std::string(500, 'x'));
    const child_result child =
        run_in_child([] { std::printf("%s", formatted(std::string(501, 'x').c_str()).c_str()); });
    EXPECT_EQ(child.out, "vek_sprintf   format too long \n(refused)");
    const std::string longest = "%" + std::string(21, '-');
    EXPECT_EQ(formatted((longest + "d").c_str(), 5), "5");
    EXPECT_EQ(formatted((longest + "-d").c_str(), 5), REFUSED);
    EXPECT_EQ(formatted((longest + "ws").c_str(), wstr_ret("w")), "w");
    const std::string starred = "%" + std::string(20, '-') + "*d";
    EXPECT_EQ(formatted(starred.c_str(), 9, 5), "5        ");
    EXPECT_EQ(formatted(starred.c_str(), 10, 5), REFUSED);
}

TEST(Format, NothingIsCutHoweverLong) {
    const std::string longest(100000, 'x');
    EXPECT_EQ(formatted("%s", longest.c_str()), longest);
    EXPECT_EQ(formatted("%100001s", longest.c_str()), ' ' + longest);
    std::string widest;
    for (int i = 0; i < 100000; ++i) {
        widest += "\x8f\xb0\xa1"; // no character takes more bytes
    }
    EXPECT_EQ(formatted("%ws", wstr_ret(widest.c_str())), widest);
    EXPECT_EQ(formatted("%5000d|%-600s|", 7, "x"), judged("%5000d|%-600s|", 7, "x"));
    EXPECT_EQ(formatted("%f %.3000f", DBL_MAX, 0.1), judged("%f %.3000f", DBL_MAX, 0.1));
    EXPECT_EQ(formatted("%.499d|%.500d|%.501d", 1, 1, 1), judged("%.499d|%.500d|%.501d", 1, 1, 1));
}

// An array holds no more than about two million bytes.
TEST(Format, ResultBeyondTheLimitIsRefused) {
    const child_result child = run_in_child([] {
        const std::string half(1200000, 'x');
        std::printf("%s ", formatted("%s%s", half.c_str(), half.c_str()).c_str());
        std::printf("%zu ", formatted("%s", half.c_str()).size());
        std::printf("%s", formatted("%s", (half + half).c_str()).c_str());
    });
    EXPECT_NE(child.out.find("(refused) 1200000 (refused)"), std::string::npos) << child.out;
}

TEST(Format, DestinationMayBeAnArgument) {
    char text[40] = "tail";
    EXPECT_EQ(format_into(text, "head-%s", text), text);
    EXPECT_STREQ(text, "head-tail");
    EXPECT_EQ(format_into(text, "%s %hd", "x", 1), nullptr);
    EXPECT_STREQ(text, "head-tail");
}

template <class Value>
void compare(const std::string &format, int first, int second, Value value) {
    const char *text = format.c_str();
    switch (std::count(format.begin(), format.end(), '*')) {
    case 0:
        ASSERT_EQ(formatted(text, value), judged(text, value)) << format;
        break;
    case 1:
        ASSERT_EQ(formatted(text, first, value), judged(text, first, value)) << format;
        break;
    default:
        ASSERT_EQ(formatted(text, first, second, value), judged(text, first, second, value))
            << format;
    }
}

TEST(Format, RandomDirectivesAgreeWithSnprintf) {
    std::mt19937 random(20240611);
    const std::vector<std::string> widths = {"", "", "1", "17", "*", "640"};
    const std::vector<std::string> precisions = {"", "", ".", ".0", ".3", ".*", ".510"};
    const std::vector<std::string> conversions = {"d",  "i",  "o",  "u",  "x",  "X",  "c",
                                                  "s",  "ld", "li", "lo", "lu", "lx", "lX",
                                                  "lf", "f",  "F",  "e",  "E",  "g",  "G"};
    const auto pick = [&random](const auto &of) { return of[random() % of.size()]; };
    for (int i = 0; i < 20000; ++i) {
        std::string format = "before %";
        while (random() % 3 == 0) {
            format += "-+ #0"[random() % 5];
        }
        const std::string conversion = pick(conversions);
        format += pick(widths) + pick(precisions) + conversion + " after";
        const int first = static_cast<int>(random() % 41) - 20;
        const int second = static_cast<int>(random() % 41) - 20;
        const auto number = static_cast<long>((random() << 20) ^ random()) >> (random() % 40);
        if (conversion == "s") {
            compare(format, first, second, std::string(random() % 700, 'y').c_str());
        } else if (conversion == "c") {
            compare(format, first, second, 'A' + first);
        } else if (std::strpbrk(conversion.c_str(), "fFeEgG") != nullptr) {
            compare(format, first, second, std::ldexp(double(number), 3 * second));
        } else if (conversion[0] == 'l') {
            compare(format, first, second, number);
        } else {
            compare(format, first, second, static_cast<int>(number));
        }
    }
}

TEST(Format, PrecisionKeepsCharactersWhole) {
    EXPECT_EQ(formatted("%.4ws", wstr_ret("\xb0\xa1\xb0\xa2x")), "\xb0\xa1\xb0\xa2");
    EXPECT_EQ(formatted("%6.3ws|", wstr_ret("\xb0\xa1\xb0\xa2")), "    \xb0\xa1|");
    std::mt19937 random(7);
    const std::string characters[] = {"a", "\xb0\xa1", "\x8f\xb0\xa1", "\x8e\xb1", "\x8f"};
    for (int i = 0; i < 2000; ++i) {
        std::string text;
        std::string kept;
        const std::size_t precision = random() % 12;
        bool fits = true;
        for (std::size_t n = random() % 8; n > 0; --n) {
            const std::string &character = characters[random() % (n == 1 ? 5 : 4)];
            const std::size_t length = character == "\x8f" ? 3 : character.size();
            fits = fits && (kept.size() + length <= precision || text.empty());
            text += character;
            kept += fits ? character : "";
        }
        std::vector<char> cut(text.c_str(), text.c_str() + text.size() + 1);
        take_care_of_precision(("%-5." + std::to_string(precision) + "s").c_str(), cut.data());
        ASSERT_STREQ(cut.data(), text.size() <= precision ? text.c_str() : kept.c_str());
        take_care_of_precision("%5s.1", cut.data());
    }
}

// The report used to format into the text that was being built.
TEST(Format, OverlongPathIsReportedAndPrintsEmpty) {
    const child_result child = run_in_child([] {
        const std::string longest(255, 'x');
        dbg_set_allow_print(1);
        std::printf(
            "%s",
            formatted("before %pf|%pd after", (longest + 'x').c_str(), longest.c_str()).c_str());
    });
    EXPECT_EQ(child.out, "before |" + std::string(255, 'x') + " after");
    EXPECT_EQ(child.err, "\n*** FATAL ERROR in WSTRCOPY_X : ***\n\tOVERFLOW.\n");
}

TEST(Format, PrintfAnswersTheLength) {
    const child_result child = run_in_child([] {
        const int written = vek_printf("%s-%d\n", "abc", 5);
        std::printf("%d %d\n", written, vek_printf("%hd", 1));
        std::fflush(stdout);
        close(STDOUT_FILENO);
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        std::fprintf(stderr, "%d", vek_printf("%d", 1));
    });
    EXPECT_EQ(child.out, "abc-5\n6 0\n");
    EXPECT_EQ(child.err, "0");
}

TEST(Format, SeparatorsOfEachHost) {
    const struct {
        int host;
        const char *text;
    } rows[] = {{3, "a/b/c/d"}, {4, "a\\b\\c\\d"}, {0, "a|b\\c/d"}};
    for (const auto &[host, expected] : rows) {
        char text[] = "a|b\\c/d";
        pfu_path_to_os(text, host);
        EXPECT_STREQ(text, expected);
    }
}

TEST(Format, ThreadsFormatAtOnce) {
    const child_result child = run_in_child([] {
        run_on_threads(8, [](int i) {
            for (int n = 0; n < 300; ++n) {
                if (formatted("%d %*d %f", i, n * 5, n, i * 0.5) !=
                    judged("%d %*d %f", i, n * 5, n, i * 0.5)) {
                    std::printf("wrong\n");
                }
            }
        });
    });
    EXPECT_EQ(child.out + child.err, "");
    EXPECT_EQ(child.status, 0);
}

// On a thread that has no buffers yet. The text is compared only when there is one.
void format_without_memory(long nth, bool persistently, bool trapped) {
    const std::string wide(900, 'w');
    const vek_wchar *wide_text = wstr_ret(wide.c_str());
    const std::string right = "     7 " + wide;
    std::jmp_buf context;
    if (trapped) {
        trp_push_frame(TRP_CLASS_MEMORY, &context);
    }
    if (!trapped || setjmp(context) == 0) {
        char text[1000] = "";
        fail_allocation(nth, persistently);
        const bool made = format_into(text, "%6d %ws", 7, wide_text) != nullptr;
        fail_allocation(NO_FAILURE, false);
        if (text != (made ? right : "")) {
            std::fprintf(stderr, "wrong at %ld: %s\n", nth, text);
        }
    }
    fail_allocation(NO_FAILURE, false);
    if (trapped) {
        trp_pop_frame();
    }
    if (formatted("%6d %ws", 7, wide_text) != right) {
        std::fprintf(stderr, "not usable after %ld\n", nth);
    }
}

TEST(Format, ExhaustedMemoryGivesNullAndIsForgotten) {
    for (const int mode : {0, 1, 2, 3}) {
        const child_result child = run_in_child([mode] {
            set_verbose_mode(1); // reports of the failure format, too
            set_run_mode(9998);
            set_dbg_err_crash(0);
            for (long nth = 0; nth < 40; ++nth) {
                run_on_threads(1, [mode, nth](int) {
                    format_without_memory(nth, (mode & 1) != 0, (mode & 2) != 0);
                });
            }
        });
        EXPECT_EQ(child.err, "") << mode;
        EXPECT_EQ(child.status, 0) << mode << child.out;
        EXPECT_NE(child.out.find("out of virtual memory"), std::string::npos);
    }
}

TEST(WideText, BuffersTakeTurnsAndGrow) {
    const vek_wchar *first = wstr_ret("\xb0\xa1x");
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(wstr_ret("other"), first);
    }
    EXPECT_EQ(first[0], 0xb0a1);
    EXPECT_EQ(first[1], 'x');
    EXPECT_EQ(wstr_ret("fifth"), first);
    for (const std::size_t length : {258, 259, 260, 261, 5000}) {
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(wslen(wstr_ret(std::string(length, 'x').c_str())), int(length));
        }
    }
}

} // namespace

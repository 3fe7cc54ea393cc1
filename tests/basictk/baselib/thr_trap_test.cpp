// Traps: which frame resumes, what is cleaned up on the way, and the states of a stack.
#include "basictk/baselib/inc/thrMutex.h"
#include "basictk/baselib/inc/thrTrap.h"
#include "tests/basictk/baselib/threads.h"

#include <gtest/gtest.h>

#include <string>

namespace {

thread_local std::string cleaned;

void note(const trp_word words[TRP_CLEANUP_WORDS]) {
    cleaned += static_cast<char>(words[0]);
    cleaned += words[TRP_CLEANUP_WORDS - 1] == 0 ? ' ' : '!';
}

void queue_note(int letter) {
    const trp_word word = letter;
    ASSERT_EQ(trp_queue_cleanup(note, &word, 1), 1);
}

constexpr int NOBODY = -1;

// Pushes a frame for each mask of a list ended by 0, the first outermost, with two calls on each;
// traps behind the innermost, and answers the place of the frame that resumed.
int trap_through(const int *masks, int level, int trap) {
    if (masks[level] == 0) {
        trp_execute(trap);
        return NOBODY;
    }
    std::jmp_buf context;
    if (setjmp(context) != 0) {
        EXPECT_EQ(tls_get_trap_ptr()->frames.Count(), level + 1);
        trp_pop_frame();
        return level;
    }
    EXPECT_EQ(trp_push_frame(masks[level], &context), 1);
    queue_note('a' + 2 * level);
    queue_note('b' + 2 * level);
    const int resumed = trap_through(masks, level + 1, trap);
    if (resumed == NOBODY) {
        EXPECT_EQ(tls_get_trap_ptr()->frames.Count(), level + 1);
    }
    if (resumed == NOBODY || resumed > level) {
        trp_pop_frame();
    }
    return resumed;
}

struct Way {
    int masks[5];
    int trap;
    int resumed;
    const char *cleaned;
};

constexpr Way WAYS[] = {
    {{0}, 2, NOBODY, ""},
    {{2, 0}, 2, 0, "a b "},
    {{4, 0}, 2, NOBODY, "a b "},
    {{2, 2, 0}, 2, 1, "c d "},
    {{2, 4, 8, 0}, 2, 0, "e f c d a b "},
    {{1, 6, 8, 4, 0}, 2, 1, "g h e f c d "},
    {{2, 4, 8, 1, 0}, 12, 2, "g h e f "},
    {{1, 1, 1, 1, 0}, 2, NOBODY, "g h e f c d a b "},
};

void go_all_ways() {
    for (const Way &way : WAYS) {
        cleaned.clear();
        EXPECT_EQ(trap_through(way.masks, 0, way.trap), way.resumed);
        EXPECT_EQ(cleaned, way.cleaned);
        EXPECT_EQ(tls_get_trap_ptr()->frames.Count(), 0);
        EXPECT_EQ(tls_get_trap_ptr()->executing, 0);
    }
}

TEST(ThrTrap, ResumesAtTheInnermostFrameOfTheClass) {
    testing::internal::CaptureStdout();
    go_all_ways();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " ALL TRAPS EXAUSTED\n ALL TRAPS EXAUSTED\n");
}

TEST(ThrTrap, ThreadsUnwindOnStacksOfTheirOwn) {
    ThreadingOn on;
    thrMutex shared(thrMutexNormal);
    int trapped = 0;
    testing::internal::CaptureStdout();
    on_threads(2, [&](int) {
        for (int round = 0; round < 200; ++round) {
            go_all_ways();
            shared.Lock(); // the trap unlocks it
            ++trapped;
            const int masks[] = {2, 4, 0};
            EXPECT_EQ(trap_through(masks, 0, 2), 0);
        }
    });
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(trapped, 400);
}

TEST(ThrTrap, StatesOfAStackHoldATrapBack) {
    std::jmp_buf context;
    trp_stack *stack = tls_get_trap_ptr();
    ASSERT_EQ(trp_push_frame(6, &context), 1);
    stack = tls_get_trap_ptr();
    if (setjmp(context) != 0) {
        FAIL() << "the trap went through";
    }
    stack->armed = 0;
    trp_execute(4);
    EXPECT_EQ(stack->pending, 1);
    EXPECT_EQ(stack->pending_class, 4);
    EXPECT_EQ(stack->executing, 0);
    stack->armed = 1;
    stack->suspended = 1;
    trp_execute(2);
    EXPECT_EQ(stack->executing, 1);
    stack->suspended = 0;
    trp_execute(2); // under way already
    stack->executing = 0;
    stack->pending = 0;
    EXPECT_EQ(stack->frames.Count(), 1);
    trp_pop_frame();
}

// A clean-up call has frames and traps of its own: the trap is ignored, frames come and go.
void restless(const trp_word words[TRP_CLEANUP_WORDS]) {
    std::jmp_buf context;
    EXPECT_EQ(trp_push_frame(2, &context), 1);
    trp_execute(2);
    trp_pop_frame();
    queue_note('z'); // on the innermost frame of all
    note(words);
}

TEST(ThrTrap, CleanUpCallsMayUseTraps) {
    cleaned.clear();
    std::jmp_buf outer;
    std::jmp_buf inner;
    if (setjmp(outer) == 0) {
        ASSERT_EQ(trp_push_frame(2, &outer), 1);
        ASSERT_EQ(trp_push_frame(4, &inner), 1);
        const trp_word words[TRP_CLEANUP_WORDS] = {'x', 2,  3,  4,  5,  6,  7,  8,
                                                   9,   10, 11, 12, 13, 14, 15, 16};
        ASSERT_EQ(trp_queue_cleanup(restless, words, TRP_CLEANUP_WORDS), 1);
        trp_execute(2);
        ADD_FAILURE() << "the trap came back";
    }
    EXPECT_EQ(cleaned, "x!z ");
    trp_pop_frame();
    EXPECT_EQ(tls_get_trap_ptr()->frames.Count(), 0);
}

TEST(ThrTrap, RefusesWhatItCannotKeep) {
    std::jmp_buf context;
    const trp_word word = 'n';
    EXPECT_EQ(trp_push_frame(2, nullptr), 0);
    EXPECT_EQ(trp_queue_cleanup(note, &word, 1), 0); // no frame
    trp_pop_frame();
    ASSERT_EQ(trp_push_frame(2, &context), 1);
    EXPECT_EQ(trp_queue_cleanup(nullptr, &word, 1), 0);
    EXPECT_EQ(trp_queue_cleanup(note, &word, -1), 0);
    EXPECT_EQ(trp_queue_cleanup(note, &word, TRP_CLEANUP_WORDS + 1), 0);
    cleaned.clear();
    queue_note('n');
    trp_pop_frame(); // drops the call
    EXPECT_EQ(cleaned, "");
}

} // namespace

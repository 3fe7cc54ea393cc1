// Traps: which frame resumes, what is cleaned up on the way, and the states of a stack.
#include "basictk/baselib/inc/thrMutex.h"
#include "basictk/baselib/inc/thrTrap.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <string>

namespace {

thread_local std::string cleaned;

// A clean-up call with a frame of its own, and a trap, which is ignored.
void note(const trp_word words[TRP_CLEANUP_WORDS]) {
    std::jmp_buf context;
    EXPECT_EQ(trp_push_frame(2, &context), 1);
    trp_execute(2);
    trp_pop_frame();
    EXPECT_EQ(words[15], 15);
    cleaned += static_cast<char>(words[0]);
}

void queue_note(int letter) {
    const trp_word words[] = {letter, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    EXPECT_EQ(trp_queue_cleanup(note, words, TRP_CLEANUP_WORDS), 1);
}

constexpr int NOBODY = -1;

// Pushes a frame for each mask of a list ended by 0, the first outermost, with two calls on each;
// traps behind the innermost, and answers the place of the frame that resumed. exhausted: the trap
// finds no memory.
int trap_through(const int *masks, int level, int trap, bool exhausted) {
    if (masks[level] == 0) {
        fail_allocation(exhausted ? 0 : NO_FAILURE, exhausted);
        trp_execute(trap);
        fail_allocation(NO_FAILURE, false);
        return NOBODY;
    }
    std::jmp_buf context;
    int resumed = level;
    if (setjmp(context) == 0) {
        EXPECT_EQ(trp_push_frame(masks[level], &context), 1);
        queue_note('a' + 2 * level);
        queue_note('b' + 2 * level);
        resumed = trap_through(masks, level + 1, trap, exhausted);
    }
    fail_allocation(NO_FAILURE, false);
    EXPECT_EQ(tls_get_trap_ptr()->frames.Count(), level + 1);
    queue_note('z'); // goes with its frame
    trp_pop_frame();
    return resumed;
}

void go_all_ways(bool exhausted) {
    const struct {
        int masks[5];
        int trap;
        int resumed;
        const char *cleaned;
    } ways[] = {
        {{0}, 2, NOBODY, ""},
        {{2, 2, 0}, 2, 1, "cd"},
        {{2, 4, 8, 0}, 2, 0, "efcdab"},
        {{1, 6, 8, 4, 0}, 2, 1, "ghefcd"},
        {{2, 4, 8, 1, 0}, 12, 2, "ghef"},
        {{1, 1, 1, 1, 0}, 2, NOBODY, "ghefcdab"},
    };
    for (const auto &way : ways) {
        cleaned.clear();
        EXPECT_EQ(trap_through(way.masks, 0, way.trap, exhausted), way.resumed);
        EXPECT_EQ(cleaned, way.cleaned);
    }
}

TEST(ThrTrap, ResumesAtTheInnermostFrameOfTheClassOnEachThread) {
    thrMutex shared(thrMutexNormal);
    int trapped = 0;
    testing::internal::CaptureStdout();
    go_all_ways(true);
    run_on_threads(2, [&](int) {
        for (int round = 0; round < 200; ++round) {
            go_all_ways(false);
            shared.Lock(); // the trap unlocks it
            ++trapped;
            const int masks[] = {2, 4, 0};
            EXPECT_EQ(trap_through(masks, 0, 2, false), 0);
        }
    });
    const std::string message = " ALL TRAPS EXAUSTED\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout().size(), 401 * message.size());
    EXPECT_EQ(trapped, 400);
}

TEST(ThrTrap, StatesOfAStackHoldATrapBack) {
    std::jmp_buf context;
    if (setjmp(context) != 0) {
        FAIL() << "the trap went through";
    }
    EXPECT_EQ(trp_push_frame(6, nullptr), 0);
    ASSERT_EQ(trp_push_frame(6, &context), 1);
    queue_note('n');
    trp_stack *stack = tls_get_trap_ptr();
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
    trp_pop_frame(); // drops the call
    EXPECT_EQ(stack->frames.Count(), 0);
    EXPECT_EQ(trp_queue_cleanup(note, nullptr, 0), 0); // no frame
}

} // namespace

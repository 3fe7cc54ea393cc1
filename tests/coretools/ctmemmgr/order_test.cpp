// Ordered trees (rules under random operations, insertion modes, node blocks) and sorting
// of pointer arrays (order, stability, cost, comparisons without sense).
#include "coretools/ctmemmgr/btree_internal.h"
#include "coretools/ctmemmgr/sort_pointers.h"
#include "coretools/ctmemmgr/xar.h"
#include "tests/coretools/ctmemmgr/memory_test.h"

#include <climits>
#include <random>
#include <set>
#include <vector>

namespace {

// Keys are small integers held by value: the first, 0, is a null pointer.
void *word(int key) {
    return reinterpret_cast<void *>(static_cast<std::intptr_t>(key));
}

int key_of(const void *data) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(data));
}

int compare_keys(const void *a, const void *b) {
    return key_of(a) - key_of(b);
}

int compare_tens(const void *a, const void *b) {
    return key_of(a) / 10 - key_of(b) / 10;
}

rbtree_node *insert(btree *tree, int key) {
    return insert_data_into_rbtree(tree, word(key), compare_keys);
}

bool red(const btree_node *node) {
    return node != nullptr && static_cast<const rbtree_node *>(node)->colour == RBTREE_RED;
}

// The black height of a subtree.
int check_rules(const btree_node *node, const btree_node *parent) {
    if (node == nullptr) {
        return 0;
    }
    EXPECT_EQ(node->parent, parent);
    if (red(node)) {
        EXPECT_NE(parent, nullptr);
        EXPECT_FALSE(red(parent));
    }
    const int left = check_rules(node->left, node);
    EXPECT_EQ(left, check_rules(node->right, node));
    return left + (red(node) ? 0 : 1);
}

std::vector<int> keys_in_order(const btree *tree, int direction) {
    std::vector<int> keys;
    for (btree_node *node = nullptr; (node = next_btree_node(tree, node, direction)) != nullptr;) {
        keys.push_back(key_of(node->data));
    }
    return keys;
}

// What lies nearest to a key that is not in the tree is a pair of neighbours.
void check_rbtree(const btree *tree, const std::set<int> &model, int key) {
    check_rules(tree->root, nullptr);
    ASSERT_EQ(keys_in_order(tree, BTREE_NEXT), std::vector<int>(model.begin(), model.end()));
    ASSERT_EQ(keys_in_order(tree, BTREE_PREVIOUS), std::vector<int>(model.rbegin(), model.rend()));
    btree_node *equal = nullptr;
    btree_node *below = nullptr;
    btree_node *above = nullptr;
    const int found = btree_locate(tree, word(key), compare_keys, &equal, &below, &above);
    ASSERT_EQ(found, model.count(key));
    EXPECT_EQ(btree_lookup(tree, word(key), compare_keys), equal);
    if (found == 1) {
        EXPECT_EQ(key_of(equal->data), key);
    } else {
        EXPECT_LT(below != nullptr ? key_of(below->data) : -1, key);
        EXPECT_GT(above != nullptr ? key_of(above->data) : INT_MAX, key);
        EXPECT_EQ(next_btree_node(tree, below, BTREE_NEXT), above);
    }
}

TEST(Rbtree, RandomOperationsAgreeWithASet) {
    std::mt19937 random(3);
    for (const unsigned keys : {1U, 3U, 40U, 300U}) {
        rlsmem(getmem(1)); // what a process makes once is there
        const std::int64_t blocks = live_blocks();
        btree *tree = nullptr;
        for (long nth = 0; tree == nullptr; ++nth) {
            fail_allocation(nth, false);
            tree = new_rbtree(7);
        }
        std::set<int> model;
        for (int i = 0; i < 3000; ++i) {
            const int key = static_cast<int>(random() % keys);
            // More insertions in some stretches, more deletions in others.
            if (random() % 10 < (i / 500 % 2 == 0 ? 7U : 3U)) {
                const long failing = static_cast<long>(random() % 8);
                fail_allocation(failing < 2 ? failing : NO_FAILURE, false);
                if (insert(tree, key) != nullptr) {
                    ASSERT_TRUE(model.insert(key).second);
                } else if (failing >= 2) {
                    ASSERT_EQ(model.count(key), 1u);
                }
                fail_allocation(NO_FAILURE, false);
            } else {
                btree_node *node = btree_lookup(tree, word(key), compare_keys);
                ASSERT_EQ(rbtree_delete_node(tree, node), model.erase(key));
            }
            check_rbtree(tree, model, key);
        }
        // Released nodes are used again: the blocks hold no more than there were keys at once.
        EXPECT_LE(xar_last(&tree->blocks)->capacity, std::max(7U, 2 * keys));
        rbtree_node *node = new_rbtree_node(tree);
        EXPECT_EQ(btree_add_node_to_free_list(tree, node, sizeof(rbtree_node)), 1);
        EXPECT_EQ(btree_add_node_to_free_list(tree, node, sizeof(rbtree_node)), 0);
        free_btree(&tree);
        EXPECT_EQ(live_blocks(), blocks);
    }
}

// The tens order the keys; the last digit distinguishes equal ones.
TEST(Btree, InsertionModes) {
    const std::pair<int, std::vector<int>> rows[] = {
        {BTREE_UNIQUE, {10, 20, 30}},
        {BTREE_BEFORE_EQUAL, {11, 10, 24, 22, 20, 30}},
        {BTREE_AFTER_EQUAL, {10, 11, 20, 22, 24, 30}},
    };
    for (const auto &[mode, order] : rows) {
        btree *tree = new_btree_low(1, BTREE_NODES_PER_BLOCK, sizeof(btree_node));
        for (const int key : {20, 10, 30, 22, 11, 24}) {
            const bool inserts = std::count(order.begin(), order.end(), key) != 0;
            btree_node *node = nullptr;
            EXPECT_EQ(insert_node_into_btree(tree, &node, word(key), compare_tens, mode), inserts);
            EXPECT_EQ(key_of(node->data), inserts ? key : key / 10 * 10);
        }
        EXPECT_EQ(keys_in_order(tree, BTREE_NEXT), order);
        free_btree(&tree);
    }
}

bool sorts_before(const void *a, const void *b) {
    return compare_tens(a, b) < 0;
}

int compare_counting(const void *a, const void *b, void *calls) {
    ++*static_cast<long *>(calls);
    return compare_tens(a, b);
}

// Mostly "before": scans that trust it run far.
int compare_at_random(const void *, const void *, void *random) {
    return (*static_cast<std::mt19937 *>(random))() % 8 == 0 ? 1 : -1;
}

// Ordered values are not the worst case, and no comparison leads outside the array or loses an
// element.
TEST(SortPointers, AgreesWithStableSort) {
    std::mt19937 random(9);
    for (int i = 0; i < 3000; ++i) {
        const int count = 1 + static_cast<int>(random() % (i % 2 == 0 ? 13 : 300));
        std::vector<const void *> keys;
        for (int j = 0; j < count; ++j) {
            // The tens fall, stay, rise, or are random.
            const int tens = i % 8 < 3 ? 300 + (i % 8 - 1) * j : static_cast<int>(random() % 10);
            keys.push_back(word(10 * tens + j % 10));
        }
        auto expected = keys, sorted = keys, anyhow = keys, counted = keys;
        std::stable_sort(expected.begin(), expected.end(), sorts_before);
        sort_pointers(count, compare_tens, sorted.data());
        if (count < 10) {
            ASSERT_EQ(sorted, expected);
        }
        ASSERT_TRUE(std::is_sorted(sorted.begin(), sorted.end(), sorts_before));
        sort_pointers_with_data(count, compare_at_random, anyhow.data(), &random);
        long calls = 0;
        quick_sort_with_data(1, count - 1, compare_counting, counted.data(), &calls);
        ASSERT_LE(calls, 30L * count);
        ASSERT_EQ(counted[0], keys[0]); // outside the range
        std::sort(keys.begin(), keys.end());
        for (auto result : {sorted, anyhow, counted}) {
            std::sort(result.begin(), result.end());
            ASSERT_EQ(result, keys);
        }
    }
}

} // namespace

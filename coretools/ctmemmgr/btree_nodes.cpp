// The nodes of a tree: blocks that double in size, and lists of released nodes.
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/btree_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmemmgr/xar_internal.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

namespace {

constexpr int NO_NODE = -1;

// There are only about log2(number of nodes) blocks.
constexpr int BLOCKS_AT_FIRST = 1;
constexpr int BLOCKS_STEP = 5;

btree_node *node_at(const btree_block &block, int index, int node_size) {
    void *node = block.nodes + static_cast<std::ptrdiff_t>(index) * node_size;
    return static_cast<btree_node *>(node);
}

// A node on a free list holds the index of the next one in its first word and is its own child on
// both sides, which no node of a tree can be.
bool is_free(const btree_node *node) {
    return node->left == node && node->right == node;
}

void push_free(btree_block &block, btree_node *node, int index, int node_size) {
    std::memset(static_cast<void *>(node), 0, static_cast<std::size_t>(node_size));
    std::memcpy(static_cast<void *>(node), &block.free_head, sizeof block.free_head);
    node->left = node;
    node->right = node;
    block.free_head = index;
}

int pop_free(btree_block &block, int node_size) {
    const int index = block.free_head;
    btree_node *node = node_at(block, index, node_size);
    std::memcpy(&block.free_head, static_cast<const void *>(node), sizeof block.free_head);
    std::memset(static_cast<void *>(node), 0, static_cast<std::size_t>(node_size));
    return index;
}

// The bytes of a block of nodes; 0 if no block can be so large.
int storage_bytes(int capacity, int node_size) {
    const std::int64_t bytes = std::int64_t{capacity} * node_size;
    return bytes > INT_MAX ? 0 : static_cast<int>(bytes);
}

// The block of a node in use, null if there is none, and the node's index.
struct node_position {
    btree_block *block;
    int index;
};

node_position position_of(const btree *tree, const btree_node *node, int node_size) {
    const auto address = reinterpret_cast<std::uintptr_t>(node);
    for (int i = xar_count(&tree->blocks) - 1; i >= 0; --i) {
        btree_block &block = tree->blocks[i];
        const auto offset = address - reinterpret_cast<std::uintptr_t>(block.nodes);
        const auto size = static_cast<std::uintptr_t>(node_size);
        if (offset < static_cast<std::uintptr_t>(block.used) * size) {
            const bool is_in_use = offset % size == 0 && !is_free(node);
            return {is_in_use ? &block : nullptr, static_cast<int>(offset / size)};
        }
    }
    return {nullptr, NO_NODE};
}

// The plain binary tree never takes a released node again.
btree_block *block_with_free_node(btree *tree, int node_size) {
    if (node_size == static_cast<int>(sizeof(btree_node))) {
        return nullptr;
    }
    for (int i = xar_count(&tree->blocks) - 1; i >= 0; --i) {
        if (tree->blocks[i].free_head != NO_NODE) {
            return &tree->blocks[i];
        }
    }
    return nullptr;
}

// Makes room for the descriptor first: once the nodes are there, nothing can fail.
btree_block *add_block(btree *tree, int maximum, int node_size) {
    if (!xar_reserve(&tree->blocks, 1)) {
        return nullptr;
    }
    const int last_capacity = xar_last(&tree->blocks)->capacity;
    const int capacity = last_capacity > maximum / 2 ? maximum : 2 * last_capacity;
    auto *const nodes = static_cast<char *>(getmem(storage_bytes(capacity, node_size)));
    if (nodes == nullptr) {
        return nullptr;
    }
    btree_block *block = xar_extend(&tree->blocks, 1);
    *block = {capacity, 0, nodes, NO_NODE};
    return block;
}

template <class Node>
Node *take_node(btree *tree, int maximum_per_block) {
    int index = NO_NODE;
    void *const nodes =
        new_btree_node_low(tree, maximum_per_block, static_cast<int>(sizeof(Node)), &index);
    return nodes == nullptr ? nullptr : static_cast<Node *>(nodes) + index;
}

} // namespace

btree *new_btree_low(int initial_nodes, int maximum_per_block, int node_size) {
    if (maximum_per_block < 1 || node_size < static_cast<int>(sizeof(btree_node))) {
        return nullptr;
    }
    const int wanted = initial_nodes > 0 ? initial_nodes : BTREE_DEFAULT_NODES;
    const int capacity = std::min(wanted, maximum_per_block);
    const int bytes = storage_bytes(capacity, node_size);
    btree *tree = bytes == 0 ? nullptr : static_cast<btree *>(getmem(sizeof(btree)));
    if (tree == nullptr) {
        return nullptr;
    }
    // The report may jump, so it comes last.
    tree->blocks = static_cast<btree_block *>(
        xar_alloc_null(BLOCKS_AT_FIRST, sizeof(btree_block), BLOCKS_STEP));
    void *const nodes = tree->blocks != nullptr ? getmem_null(bytes) : nullptr;
    if (nodes == nullptr) {
        free_btree(&tree);
        report_exhausted_memory();
        return nullptr;
    }
    tree->blocks[0] = {capacity, 0, static_cast<char *>(nodes), NO_NODE};
    return tree;
}

void free_btree(btree **tree) {
    if (tree == nullptr || *tree == nullptr) {
        return;
    }
    const int count = xar_count(&(*tree)->blocks);
    for (int i = 0; i < count; ++i) {
        rlsmem((*tree)->blocks[i].nodes);
    }
    xar_free(&(*tree)->blocks);
    relmem(tree);
}

void *new_btree_node_low(btree *tree, int maximum_per_block, int node_size, int *index) {
    btree_block *block = block_with_free_node(tree, node_size);
    if (block != nullptr) {
        *index = pop_free(*block, node_size);
        return block->nodes;
    }
    block = xar_last(&tree->blocks);
    if (block != nullptr && block->used == block->capacity) {
        block = add_block(tree, maximum_per_block, node_size);
    }
    if (block == nullptr) { // without memory, or the fatal report of a damaged tree returned
        *index = NO_NODE;
        return nullptr;
    }
    *index = block->used++;
    return block->nodes;
}

btree_node *new_btree_node(btree *tree) {
    return take_node<btree_node>(tree, BTREE_NODES_PER_BLOCK);
}

rbtree_node *new_rbtree_node(btree *tree) {
    return take_node<rbtree_node>(tree, RBTREE_NODES_PER_BLOCK);
}

int btree_add_node_to_free_list(btree *tree, btree_node *node, int node_size) {
    const node_position position = position_of(tree, node, node_size);
    if (position.block == nullptr) {
        return 0;
    }
    push_free(*position.block, node, position.index, node_size);
    return 1;
}

bool btree_is_live_node(const btree *tree, const btree_node *node, int node_size) {
    return position_of(tree, node, node_size).block != nullptr;
}

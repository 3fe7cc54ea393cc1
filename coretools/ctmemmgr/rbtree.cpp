// Red-black trees: insertion and deletion with their repairs, and the sideways dump.
#include "coretools/ctmemmgr/btree_internal.h"

#include <cstdio>
#include <utility>

namespace {

constexpr int RBTREE_NODE_SIZE = static_cast<int>(sizeof(rbtree_node));

// A repair and its mirror image differ only in which side is which.
using side = btree_node *btree_node::*;

// Missing children are black.
bool is_red(const btree_node *node) {
    return node != nullptr && static_cast<const rbtree_node *>(node)->colour == RBTREE_RED;
}

void paint(btree_node *node, rbtree_colour colour) {
    // The nodes that the repairs paint exist. NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
    static_cast<rbtree_node *>(node)->colour = colour;
}

// The side of the parent on which a child hangs, and the other one.
std::pair<side, side> sides_of(const btree_node *parent, const btree_node *child) {
    constexpr side left = &btree_node::left;
    constexpr side right = &btree_node::right;
    return child == parent->left ? std::pair(left, right) : std::pair(right, left);
}

// The link through which the tree reaches a node.
btree_node *&link_to(btree *tree, const btree_node *node) {
    if (node->parent == nullptr) {
        return tree->root;
    }
    return node->parent->left == node ? node->parent->left : node->parent->right;
}

// Moves x one level down on the `down` side and its child on the `up` side into its place: a left
// rotation moves x to the left and raises the right child.
void rotate(btree *tree, btree_node *x, side down, side up) {
    btree_node *y = x->*up;
    if (y == nullptr) {
        return;
    }
    x->*up = y->*down;
    if (x->*up != nullptr) {
        (x->*up)->parent = x;
    }
    link_to(tree, x) = y;
    y->parent = x->parent;
    y->*down = x;
    x->parent = y;
}

// Both repairs rely on the rules of the tree: a red node has a parent, and the way that lacks a
// black node has a sibling with black nodes. NOLINTBEGIN(clang-analyzer-core.NullDereference)

void repair_after_insertion(btree *tree, btree_node *node) {
    while (is_red(node->parent)) {
        btree_node *parent = node->parent;
        btree_node *grandparent = parent->parent;
        const auto [near, far] = sides_of(grandparent, parent);
        btree_node *uncle = grandparent->*far;
        if (is_red(uncle)) {
            paint(parent, RBTREE_BLACK);
            paint(uncle, RBTREE_BLACK);
            paint(grandparent, RBTREE_RED);
            node = grandparent;
            continue;
        }
        if (node == parent->*far) {
            rotate(tree, parent, near, far);
            std::swap(node, parent);
        }
        paint(parent, RBTREE_BLACK);
        paint(grandparent, RBTREE_RED);
        rotate(tree, grandparent, far, near);
    }
    paint(tree->root, RBTREE_BLACK);
}

// The ways through x lack one black node. Its sibling always exists.
void repair_after_deletion(btree *tree, btree_node *x) {
    while (x != tree->root && !is_red(x)) {
        btree_node *parent = x->parent;
        const auto [near, far] = sides_of(parent, x);
        btree_node *sibling = parent->*far;
        if (is_red(sibling)) {
            paint(sibling, RBTREE_BLACK);
            paint(parent, RBTREE_RED);
            rotate(tree, parent, near, far);
            sibling = parent->*far;
        }
        if (!is_red(sibling->left) && !is_red(sibling->right)) {
            paint(sibling, RBTREE_RED);
            x = parent;
            continue;
        }
        if (!is_red(sibling->*far)) {
            paint(sibling->*near, RBTREE_BLACK);
            paint(sibling, RBTREE_RED);
            rotate(tree, sibling, far, near);
            sibling = parent->*far;
        }
        paint(sibling, is_red(parent) ? RBTREE_RED : RBTREE_BLACK);
        paint(parent, RBTREE_BLACK);
        paint(sibling->*far, RBTREE_BLACK);
        rotate(tree, parent, near, far);
        x = tree->root;
    }
    paint(x, RBTREE_BLACK);
}

// NOLINTEND(clang-analyzer-core.NullDereference)

void dump_subtree(const btree_node *node, int depth, void (*print)(const void *data)) {
    if (node == nullptr) {
        return;
    }
    dump_subtree(node->right, depth + 1, print);
    std::printf("%*s [%c] ", 3 * depth, " ", is_red(node) ? 'R' : 'B');
    print(node->data);
    std::printf("\n");
    dump_subtree(node->left, depth + 1, print);
}

} // namespace

btree *new_rbtree(int initial_nodes) {
    return new_btree_low(initial_nodes, RBTREE_NODES_PER_BLOCK, RBTREE_NODE_SIZE);
}

rbtree_node *insert_data_into_rbtree(btree *tree, void *data, btree_compare compare) {
    // Looks for the place first: an equal key costs no node.
    const btree_place place = btree_find_place(tree, data, compare, BTREE_UNIQUE);
    if (place.link == nullptr) {
        return nullptr;
    }
    rbtree_node *node = new_rbtree_node(tree);
    if (node == nullptr) {
        return nullptr;
    }
    node->data = data;
    node->colour = RBTREE_RED;
    btree_attach(node, place);
    repair_after_insertion(tree, node);
    return node;
}

int rbtree_delete_node(btree *tree, btree_node *node) {
    if (!btree_is_live_node(tree, node, RBTREE_NODE_SIZE) || link_to(tree, node) != node) {
        return 0;
    }
    // The node that leaves the tree has at most one child.
    btree_node *leaving = node;
    if (node->left != nullptr && node->right != nullptr) {
        get_least_node(node->right, &leaving);
    }
    btree_node *child = leaving->left != nullptr ? leaving->left : leaving->right;

    // If it has none, a black stand-in takes its place during the repair.
    rbtree_node stand_in{};
    stand_in.colour = RBTREE_BLACK;
    btree_node *heir = child;
    if (heir == nullptr && leaving->parent != nullptr) {
        heir = &stand_in;
    }
    link_to(tree, leaving) = heir;
    if (heir != nullptr) {
        heir->parent = leaving->parent;
        if (!is_red(leaving)) {
            repair_after_deletion(tree, heir);
        }
    }
    if (heir == &stand_in) {
        link_to(tree, heir) = nullptr;
    }
    node->data = leaving->data;
    return btree_add_node_to_free_list(tree, leaving, RBTREE_NODE_SIZE);
}

void dbg_dump_rbtree(const btree *tree, void (*print)(const void *data)) {
    dump_subtree(tree->root, 0, print);
    std::printf("\n\n");
}

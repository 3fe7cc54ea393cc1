// Searching, walking and plain insertion, for both kinds of tree.
#include "coretools/ctmemmgr/btree_internal.h"
#include "coretools/ctmemmgr/xar_internal.h"

#include <cstdio>

namespace {

using side = btree_node *btree_node::*;

// The node of a subtree that is farthest to one side; null for a null subtree.
btree_node *outermost(btree_node *subtree, side towards) {
    while (subtree != nullptr && subtree->*towards != nullptr) {
        subtree = subtree->*towards;
    }
    return subtree;
}

// The neighbour on the side of the child `towards`: in that child's subtree the node farthest to
// the other side, else the first ancestor that the way up reaches from its other side.
btree_node *neighbour(btree_node *node, side towards, side away) {
    if (node->*towards != nullptr) {
        return outermost(node->*towards, away);
    }
    while (node->parent != nullptr && node->parent->*towards == node) {
        node = node->parent;
    }
    return node->parent;
}

} // namespace

btree_place btree_find_place(btree *tree, const void *key, btree_compare compare, int mode) {
    btree_place place{&tree->root, nullptr, nullptr};
    while (*place.link != nullptr) {
        btree_node *node = *place.link;
        int order = compare(node->data, key);
        if (order == 0) {
            switch (mode) {
            case BTREE_UNIQUE:
                return {nullptr, nullptr, node};
            case BTREE_BEFORE_EQUAL:
                order = 1;
                break;
            case BTREE_AFTER_EQUAL:
                order = -1;
                break;
            default:
                std::printf("Illegal mode in insert_into_btree().\n");
                return {nullptr, nullptr, nullptr};
            }
        }
        place.parent = node;
        place.link = order > 0 ? &node->left : &node->right;
    }
    return place;
}

void btree_attach(btree_node *node, const btree_place &place) {
    node->parent = place.parent;
    node->left = nullptr;
    node->right = nullptr;
    *place.link = node;
}

int insert_node_into_btree(btree *tree, btree_node **node, void *data, btree_compare compare,
                           int mode) {
    const btree_place place = btree_find_place(tree, data, compare, mode);
    if (*node == nullptr) {
        *node = place.link != nullptr ? new_btree_node(tree) : place.equal;
    }
    if (place.link == nullptr || *node == nullptr) {
        return 0;
    }
    (*node)->data = data;
    btree_attach(*node, place);
    return 1;
}

int btree_locate(const btree *tree, const void *key, btree_compare compare, btree_node **equal,
                 btree_node **below, btree_node **above) {
    btree_node *nearest_below = nullptr;
    btree_node *nearest_above = nullptr;
    btree_node *node = tree->root;
    while (node != nullptr) {
        const int order = compare(key, node->data);
        if (order == 0) {
            store_if_wanted(equal, node);
            return 1;
        }
        if (order > 0) {
            nearest_below = node;
            node = node->right;
        } else {
            nearest_above = node;
            node = node->left;
        }
    }
    store_if_wanted(below, nearest_below);
    store_if_wanted(above, nearest_above);
    return 0;
}

void get_least_node(btree_node *subtree, btree_node **least) {
    *least = outermost(subtree, &btree_node::left);
}

void get_greatest_node(btree_node *subtree, btree_node **greatest) {
    *greatest = outermost(subtree, &btree_node::right);
}

btree_node *next_btree_node(const btree *tree, btree_node *node, int direction) {
    switch (direction) {
    case BTREE_NEXT:
        return node != nullptr ? neighbour(node, &btree_node::right, &btree_node::left)
                               : outermost(tree->root, &btree_node::left);
    case BTREE_PREVIOUS:
        return node != nullptr ? neighbour(node, &btree_node::left, &btree_node::right)
                               : outermost(tree->root, &btree_node::right);
    default:
        std::printf("Unknown mode in next_btree_node()\n");
        return nullptr;
    }
}

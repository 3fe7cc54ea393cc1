// What the two kinds of tree share: the tree itself and the place where a new node hangs.
#pragma once

#include "coretools/ctmemmgr/btree.h"

// A block of nodes. Nodes are taken from its start; released ones form a list through their first
// words.
struct btree_block {
    int capacity;
    int used;      // nodes that were ever taken
    char *nodes;   // capacity nodes
    int free_head; // index of the node released last, or -1
};

// An empty place in a tree: the link to the node and the node's parent. Without a link there is no
// place: an equal node keeps the new one out, or the mode is unknown (equal is then null).
struct btree_place {
    btree_node **link;
    btree_node *parent;
    btree_node *equal;
};

btree_place btree_find_place(btree *tree, const void *key, btree_compare compare, int mode);
void btree_attach(btree_node *node, const btree_place &place);
// True if node is one of the tree that is not on a free list.
bool btree_is_live_node(const btree *tree, const btree_node *node, int node_size);

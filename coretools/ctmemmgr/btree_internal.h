// What the two kinds of tree share: the tree itself and the place where a new node hangs.
#pragma once

#include "coretools/ctmemmgr/btree.h"

// A block of nodes. Nodes are handed out from its start; released ones form a list through their
// first words.
struct btree_block {
    int capacity;
    int used;      // nodes ever handed out
    char *nodes;   // capacity nodes
    int free_head; // index of the first released node, or -1
};

// An empty place in a tree: where the pointer to the node goes, and the node's parent. equal is set
// instead when an equal node keeps a new one out; no link and no equal node is an unknown mode.
struct btree_place {
    btree_node **link;
    btree_node *parent;
    btree_node *equal;
};

btree_place btree_find_place(btree *tree, const void *key, btree_compare compare, int mode);
void btree_attach(btree_node *node, const btree_place &place);
// 1 when node is a node of the tree that is not on a free list.
int btree_is_live_node(const btree *tree, const btree_node *node, int node_size);

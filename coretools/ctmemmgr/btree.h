// Ordered trees over caller-supplied data: a plain binary tree and a red-black tree.
#pragma once

struct btree_node {
    btree_node *parent;
    btree_node *left;
    btree_node *right;
    void *data;
};

enum rbtree_colour : int { RBTREE_RED = 0, RBTREE_BLACK = 1 };

struct rbtree_node : btree_node {
    int colour;
};

struct btree;

// Negative when a sorts before b, 0 when they are equal, positive when a sorts after b.
using btree_compare = int (*)(const void *a, const void *b);

constexpr int BTREE_NODES_PER_BLOCK = 8192;
constexpr int RBTREE_NODES_PER_BLOCK = 6553;

btree *new_btree_low(int initial_nodes, int maximum_per_block, int node_size);
btree *new_rbtree(int initial_nodes);
void *new_btree_node_low(btree *tree, int maximum_per_block, int node_size, int *index);
btree_node *new_btree_node(btree *tree);
rbtree_node *new_rbtree_node(btree *tree);
int btree_add_node_to_free_list(btree *tree, btree_node *node, int node_size);
int insert_node_into_btree(btree *tree, btree_node **node, void *data, btree_compare compare,
                           int mode);
rbtree_node *insert_data_into_rbtree(btree *tree, void *data, btree_compare compare);
int rbtree_delete_node(btree *tree, btree_node *node);
btree_node *btree_lookup(const btree *tree, const void *key, btree_compare compare);
int btree_locate(const btree *tree, const void *key, btree_compare compare, btree_node **equal,
                 btree_node **below, btree_node **above);
btree_node *next_btree_node(const btree *tree, btree_node *node, int mode);
void get_least_node(btree_node *subtree, btree_node **least);
void get_greatest_node(btree_node *subtree, btree_node **greatest);
void dbg_dump_rbtree(const btree *tree, void (*print)(const void *data));

// Ordered trees over caller-supplied data: a plain binary tree and a red-black tree.
//
// A tree orders its nodes only through the comparison that each call is given; the data of a node
// is the caller's, a pointer or a small integer by value, so a null data word is as good as any.
// Nodes live in blocks of the tree that double in size up to a maximum and are given back only
// with the whole tree. Red-black rules and repairs follow any text on algorithms (root and missing
// children black, no red node with a red child, as many black nodes on every way down).
//
// Without memory a call answers null or 0 and the tree is as it was. Not locked.
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

struct btree_block;

// Null is the root of an empty tree. The node blocks are an extensible array of the tree's own.
struct btree {
    btree_node *root;
    btree_block *blocks;
};

// Negative when a sorts before b, 0 when they are equal, positive when a sorts after b.
using btree_compare = int (*)(const void *a, const void *b);

constexpr int BTREE_DEFAULT_NODES = 512;
constexpr int BTREE_NODES_PER_BLOCK = 8192;
constexpr int RBTREE_NODES_PER_BLOCK = 6553;

// What an insertion does when an equal key is in the tree.
enum btree_insert_mode : int {
    BTREE_UNIQUE = 0,       // nothing is inserted
    BTREE_BEFORE_EQUAL = 1, // the new node comes before all equal ones
    BTREE_AFTER_EQUAL = 2,  // the new node comes after all equal ones
};

enum btree_direction : int { BTREE_NEXT = 0, BTREE_PREVIOUS = 1 };

// An empty tree whose first block holds initial_nodes (512 for 0) of node_size bytes.
[[nodiscard]] btree *new_btree_low(int initial_nodes, int maximum_per_block, int node_size);
[[nodiscard]] btree *new_rbtree(int initial_nodes);
// Releases the tree and all its nodes, not their data, and sets the pointer to null.
void free_btree(btree **tree);

// A zeroed node: answers the storage of the block that supplied it and its index there. Released
// nodes are used again first, except in the plain binary tree (known by its node size), which
// always takes a new one.
void *new_btree_node_low(btree *tree, int maximum_per_block, int node_size, int *index);
btree_node *new_btree_node(btree *tree);
rbtree_node *new_rbtree_node(btree *tree);
// Gives a node that hangs in no tree back to its block: 1, or 0 when it is none of the tree's nodes
// or was given back before.
int btree_add_node_to_free_list(btree *tree, btree_node *node, int node_size);

// Inserts data into a plain binary tree: in *node when the caller brings one, else in a new node,
// which *node receives. 1 when inserted, else 0: then a *node that was null receives the equal node
// that kept the data out, and stays null without memory. An unknown mode prints a message.
int insert_node_into_btree(btree *tree, btree_node **node, void *data, btree_compare compare,
                           int mode);
// Inserts data into a red-black tree: its node, or null when an equal one exists or there is no
// memory (btree_lookup tells the two apart).
rbtree_node *insert_data_into_rbtree(btree *tree, void *data, btree_compare compare);
// Takes the data of a node out of a red-black tree. The successor's data may move into this node
// and the successor's node be the one released: other node pointers into the tree go stale. 1, or 0
// when it is no live node of the tree.
int rbtree_delete_node(btree *tree, btree_node *node);

// The node whose data compares equal to the key, or null. The key is the comparison's first
// argument. Inline, so that a comparison known at the call needs no calls.
inline btree_node *btree_lookup(const btree *tree, const void *key, btree_compare compare) {
    btree_node *node = tree->root;
    while (node != nullptr) {
        const int order = compare(key, node->data);
        if (order == 0) {
            return node;
        }
        node = order > 0 ? node->right : node->left;
    }
    return nullptr;
}
// 1 when an equal node exists, which *equal receives (the other outputs are not written); else 0,
// and *below and *above receive the nearest nodes, null where there is none. Outputs may be null.
int btree_locate(const btree *tree, const void *key, btree_compare compare, btree_node **equal,
                 btree_node **below, btree_node **above);
// The neighbour in order, of null the least or the greatest node; null past the end. An unknown
// direction prints a message.
btree_node *next_btree_node(const btree *tree, btree_node *node, int direction);
// The leftmost and the rightmost node of a subtree; null for a null subtree.
void get_least_node(btree_node *subtree, btree_node **least);
void get_greatest_node(btree_node *subtree, btree_node **greatest);
// Prints the tree sideways on standard output, greatest first, each node as its colour and what
// print makes of its data.
void dbg_dump_rbtree(const btree *tree, void (*print)(const void *data));

// Ordered trees of the caller's data: a plain binary tree and a red-black tree.
//
// A tree orders its nodes only through the comparison that each call passes. Data is the caller's:
// a pointer, or a small integer by value, so null is as good as any. Nodes lie in blocks of the
// tree, which double in size up to a maximum and are released only with the whole tree. In a
// red-black tree the root and missing children are black, a red node has no red child, and every
// way down passes as many black nodes.
//
// Without memory a call returns null or 0 and the tree is as it was. Not locked.
#pragma once

struct btree_node {
    btree_node *parent;
    btree_node *left;
    btree_node *right;
    void *data;
};

enum rbtree_colour : int { RBTREE_RED = 0, RBTREE_BLACK = 1 };

struct rbtree_node : btree_node {
    rbtree_colour colour;
};

struct btree_block;

struct btree {
    btree_node *root;    // null in an empty tree
    btree_block *blocks; // extensible array
};

// Negative if a sorts before b, 0 if they are equal, positive if a sorts after b.
using btree_compare = int (*)(const void *a, const void *b);

constexpr int BTREE_DEFAULT_NODES = 512;
constexpr int BTREE_NODES_PER_BLOCK = 8192;
constexpr int RBTREE_NODES_PER_BLOCK = 6553;

// What an insertion does if an equal key is in the tree.
enum btree_insert_mode : int {
    BTREE_UNIQUE = 0,       // nothing is inserted
    BTREE_BEFORE_EQUAL = 1, // the new node comes before all equal ones
    BTREE_AFTER_EQUAL = 2,  // the new node comes after all equal ones
};

enum btree_direction : int { BTREE_NEXT = 0, BTREE_PREVIOUS = 1 };

// Returns an empty tree whose first block holds `initial_nodes` (BTREE_DEFAULT_NODES for 0) of
// `node_size` bytes, and no block more than `maximum_per_block`. Release with free_btree().
[[nodiscard]] btree *new_btree_low(int initial_nodes, int maximum_per_block, int node_size);
// The same for red-black nodes.
[[nodiscard]] btree *new_rbtree(int initial_nodes);
// Releases the tree and its nodes, not their data, and sets the pointer to null.
void free_btree(btree **tree);

// Takes a zero node; returns the storage of its block and stores its index there. Released nodes
// are taken first, except in the plain binary tree (known by its node size), which takes none.
void *new_btree_node_low(btree *tree, int maximum_per_block, int node_size, int *index);
btree_node *new_btree_node(btree *tree);
rbtree_node *new_rbtree_node(btree *tree);
// Releases a node that is not linked into the tree. Returns 1; 0 if it is none of the tree's nodes
// or already released.
int btree_add_node_to_free_list(btree *tree, btree_node *node, int node_size);

// Inserts data into a plain binary tree with the node *node, or with a new one, stored in *node, if
// that is null. Returns 1. Returns 0 if an equal node keeps the data out, which is then stored in
// *node if that is null; also without memory, and for an unknown mode, after a message.
int insert_node_into_btree(btree *tree, btree_node **node, void *data, btree_compare compare,
                           int mode);
// Inserts data into a red-black tree and returns its node; null if an equal one exists
// (btree_lookup finds it) or without memory.
rbtree_node *insert_data_into_rbtree(btree *tree, void *data, btree_compare compare);
// Removes the data of a node from a red-black tree. Returns 1; 0 if `node` is no live node of the
// tree. All other pointers to nodes are stale: the data of the next node may move into this one.
int rbtree_delete_node(btree *tree, btree_node *node);

// Returns the node equal to the key, or null. The key is the comparison's first argument. Inline,
// so that a comparison known at the call costs no calls.
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
// If a node equal to the key exists, stores it in *equal and returns 1. Else stores the nearest
// nodes, null where there is none, in *below and *above, and returns 0. Outputs may be null.
int btree_locate(const btree *tree, const void *key, btree_compare compare, btree_node **equal,
                 btree_node **below, btree_node **above);
// Returns the neighbour in order, null after the last one. The neighbours of null are the least
// node (BTREE_NEXT) and the greatest. Prints a message and returns null for an unknown direction.
btree_node *next_btree_node(const btree *tree, btree_node *node, int direction);
// Store the leftmost or the rightmost node of a subtree; null for a null subtree.
void get_least_node(btree_node *subtree, btree_node **least);
void get_greatest_node(btree_node *subtree, btree_node **greatest);
// Prints the tree sideways on standard output, greatest node first: depth, colour, and the output
// of `print` for its data.
void dbg_dump_rbtree(const btree *tree, void (*print)(const void *data));

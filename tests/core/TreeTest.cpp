// The shape of the tree, which its users' order of work rests on, against the definition written down plainly.

#include "KolmSet.h"

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <random>

using namespace Kolm;

namespace {

// Every step of every walk is done, up to the root, with heights stored as the rotations leave them.
struct Model {
    struct Node {
        int left = -1, right = -1, parent = -1, height = 0;
        uint32_t key = 0;
    };
    std::vector<Node> nodes;
    int root = -1;

    int height(int n) const { return (n < 0) ? -1 : nodes[n].height; }
    int balance(int n) const { return height(nodes[n].left) - height(nodes[n].right); }
    int &link(int n) {
        const int p = nodes[n].parent;
        return (p < 0) ? root : (nodes[p].left == n) ? nodes[p].left : nodes[p].right;
    }
    void hang(int n, int child) {
        link(n) = child;
        if(child >= 0) nodes[child].parent = nodes[n].parent;
    }
    int rotate(int n, int Node::*near, int Node::*far) {
        const int c = nodes[n].*far;
        hang(n, c);
        nodes[n].*far = nodes[c].*near;
        if(nodes[n].*far >= 0) nodes[nodes[n].*far].parent = n;
        nodes[c].*near = n;
        nodes[n].parent = c;
        nodes[n].height -= 1;
        return c;
    }
    void walk(int n) {
        for(; n >= 0; n = nodes[n].parent) {
            nodes[n].height = 1 + std::max(height(nodes[n].left), height(nodes[n].right));
            if(balance(n) >= 2) {
                if(balance(nodes[n].left) < 0) rotate(nodes[n].left, &Node::left, &Node::right);
                n = rotate(n, &Node::right, &Node::left);
            } else if(balance(n) <= -2) {
                if(balance(nodes[n].right) > 0) rotate(nodes[n].right, &Node::right, &Node::left);
                n = rotate(n, &Node::left, &Node::right);
            }
        }
    }
    int find(uint32_t key, int &parent) const {
        parent = -1;
        int n = root;
        while(n >= 0 && nodes[n].key != key) {
            parent = n;
            n = (nodes[n].key < key) ? nodes[n].right : nodes[n].left;
        }
        return n;
    }
    void append(uint32_t key) {
        int parent;
        if(find(key, parent) >= 0) return;
        nodes.push_back({-1, -1, parent, 0, key});
        const int n = int(nodes.size()) - 1;
        if(parent < 0)
            root = n;
        else
            (nodes[parent].key < key ? nodes[parent].right : nodes[parent].left) = n;
        walk(parent);
    }
    void remove(uint32_t key) {
        int parent;
        const int n = find(key, parent);
        if(n < 0) return;
        int lowest = nodes[n].parent;
        if(nodes[n].left >= 0 && nodes[n].right >= 0) {
            const bool right = nodes[nodes[n].left].height <= nodes[nodes[n].right].height;
            int other = right ? nodes[n].right : nodes[n].left;
            while((right ? nodes[other].left : nodes[other].right) >= 0)
                other = right ? nodes[other].left : nodes[other].right;
            lowest = (nodes[other].parent == n) ? other : nodes[other].parent;
            hang(other, right ? nodes[other].right : nodes[other].left);
            hang(n, other);
            nodes[other].left = nodes[n].left;
            nodes[other].right = nodes[n].right;
            for(const int c : {nodes[n].left, nodes[n].right})
                if(c >= 0) nodes[c].parent = other;
            nodes[other].height = nodes[n].height;
        } else {
            hang(n, (nodes[n].left >= 0) ? nodes[n].left : nodes[n].right);
        }
        walk(lowest);
    }
};

using TreeNode = Set<uint32_t>::Node;

const TreeNode *get_root(const Set<uint32_t> &set) {
    const TreeNode *node = set.begin().getNode();
    while(node && node->parent) node = node->parent;
    return node;
}
bool same_shape(const TreeNode *node, const Model &model, int n) {
    if(node == nullptr || n < 0) return node == nullptr && n < 0;
    const Model::Node &m = model.nodes[n];
    return node->data == m.key && node->height == m.height && same_shape(node->left, model, m.left) &&
           same_shape(node->right, model, m.right);
}

} // namespace

TEST(Tree, has_the_shape_of_full_walks) {
    std::mt19937 random(1);
    for(const uint32_t range : {8u, 40u, 300u, 5000u}) {
        for(const uint32_t percent : {35u, 55u, 75u}) {
            Set<uint32_t> set;
            Model model;
            for(uint32_t i = 0; i < 4000; i++) {
                // runs of ascending keys turn the tree most
                const uint32_t key = (i % 400 < 100) ? i % range : uint32_t(random()) % range;
                if(random() % 100 < percent) {
                    set.append(key);
                    model.append(key);
                } else if(random() % 2) {
                    set.remove(key);
                    model.remove(key);
                } else {
                    set.remove(set.find(key));
                    model.remove(key);
                }
                if(range > 1000 && i % 16) continue;
                ASSERT_TRUE(same_shape(get_root(set), model, model.root)) << range << " " << i;
            }
            Set<uint32_t> copy = set;
            for(uint32_t key = 0; key < range; key += 3) {
                copy.remove(key);
                model.remove(key);
            }
            ASSERT_TRUE(same_shape(get_root(copy), model, model.root));
        }
    }
}

TEST(Tree, gives_its_memory_back_when_empty) {
    const size_t memory = Allocator::getMemory();
    Set<uint32_t> set;
    EXPECT_EQ(set.memory(), 0u);
    for(uint32_t i = 0; i < 100000; i++) set.append(i * 7919);
    EXPECT_LE(set.memory(), 48u * set.size());
    const size_t full = set.memory();
    for(int k = 0; k < 3; k++) { // what is removed is used again
        for(uint32_t i = 0; i < 50000; i++) set.remove(i * 7919);
        for(uint32_t i = 0; i < 50000; i++) set.append(i * 7919);
    }
    EXPECT_EQ(set.memory(), full);
    while(set) set.remove(set.begin());
    EXPECT_EQ(Allocator::getMemory(), memory);
}

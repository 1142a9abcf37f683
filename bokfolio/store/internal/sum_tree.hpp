// SumTree: exact sums by a whole number, mostly an instant, so that the sum of all before one costs
// about the same in ten entries and in ten million. A tree whose nodes know the sum of each branch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "bokfolio/store/internal/exact_sum.hpp"

namespace bokfolio::internal {

class SumTree {
 public:
  void add(std::int64_t key, const ExactSum& amount);
  // Of the keys below this one.
  ExactSum before(std::int64_t key) const;
  const ExactSum& total() const { return total_; }
  // Every key with its own sum, ascending.
  template <class Visit>
  void forEach(const Visit& visit) const {
    walk(root_, visit);
  }

 private:
  struct Node;
  struct Branch {
    std::int64_t key;  // in a leaf the key itself, else the lowest below
    ExactSum sum;
    std::unique_ptr<Node> below;
  };
  struct Node {
    std::vector<Branch> branches;  // ascending keys
  };
  static constexpr std::size_t kWidest = 32;

  // The right half of a node that became too wide.
  static std::unique_ptr<Node> add(Node& node, std::int64_t key, const ExactSum& amount);
  static std::unique_ptr<Node> split(Node& node);
  static ExactSum sumOf(const Node& node);
  template <class Visit>
  static void walk(const Node& node, const Visit& visit) {
    for (const Branch& branch : node.branches) {
      if (branch.below) {
        walk(*branch.below, visit);
      } else {
        visit(branch.key, branch.sum);
      }
    }
  }

  ExactSum total_;
  Node root_;
};

}  // namespace bokfolio::internal

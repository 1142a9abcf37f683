#include "bokfolio/store/internal/sum_tree.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace bokfolio::internal {

void SumTree::add(std::int64_t key, const ExactSum& amount) {
  total_ += amount;
  std::unique_ptr<Node> right = add(root_, key, amount);
  if (!right) return;
  auto left = std::make_unique<Node>(std::exchange(root_, {}));
  for (auto* half : {&left, &right}) {
    const std::int64_t lowest = (*half)->branches.front().key;
    ExactSum sum = sumOf(**half);
    root_.branches.push_back({lowest, std::move(sum), std::move(*half)});
  }
}

std::unique_ptr<SumTree::Node> SumTree::add(Node& node, std::int64_t key, const ExactSum& amount) {
  auto& branches = node.branches;
  auto after =
      std::upper_bound(branches.begin(), branches.end(), key,
                       [](std::int64_t wanted, const Branch& each) { return wanted < each.key; });
  const bool isLeaf = branches.empty() || !branches.front().below;
  if (isLeaf && (after == branches.begin() || std::prev(after)->key != key)) {
    branches.insert(after, {key, amount, nullptr});
    return split(node);
  }
  Branch& branch = after == branches.begin() ? *after : *std::prev(after);
  branch.sum += amount;
  if (isLeaf) return nullptr;
  branch.key = std::min(branch.key, key);
  std::unique_ptr<Node> right = add(*branch.below, key, amount);
  if (!right) return nullptr;
  ExactSum sum = sumOf(*right);
  branch.sum -= sum;
  const std::int64_t lowest = right->branches.front().key;
  const auto place = branches.begin() + (&branch - branches.data()) + 1;
  branches.insert(place, {lowest, std::move(sum), std::move(right)});
  return split(node);
}

std::unique_ptr<SumTree::Node> SumTree::split(Node& node) {
  if (node.branches.size() <= kWidest) return nullptr;
  auto right = std::make_unique<Node>();
  const auto middle = node.branches.begin() + static_cast<std::ptrdiff_t>(kWidest / 2);
  right->branches.assign(std::make_move_iterator(middle),
                         std::make_move_iterator(node.branches.end()));
  node.branches.erase(middle, node.branches.end());
  return right;
}

ExactSum SumTree::sumOf(const Node& node) {
  ExactSum sum;
  for (const Branch& branch : node.branches) sum += branch.sum;
  return sum;
}

ExactSum SumTree::before(std::int64_t key) const {
  ExactSum sum;
  const Node* node = &root_;
  while (node != nullptr) {
    const Node* next = nullptr;
    for (const Branch& branch : node->branches) {
      if (branch.key >= key) break;
      // Only the last branch that begins before the key may also reach beyond it.
      const bool last = &branch == &node->branches.back() || (&branch)[1].key >= key;
      if (branch.below && last) {
        next = branch.below.get();
      } else {
        sum += branch.sum;
      }
    }
    node = next;
  }
  return sum;
}

}  // namespace bokfolio::internal

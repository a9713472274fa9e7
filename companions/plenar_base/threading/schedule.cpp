#include "threading/schedule.h"

#include <utility>

namespace base::threading {

/// Puts the later of two heaps under the earlier one, which is returned and has no siblings.
Scheduled* Schedule::Meld(Scheduled* a, Scheduled* b) noexcept {
  if (a == nullptr || b == nullptr) return a != nullptr ? a : b;
  if (b->place < a->place) std::swap(a, b);
  b->next_ = a->child_;
  if (b->next_ != nullptr) b->next_->link_ = &b->next_;
  b->link_ = &a->child_;
  a->child_ = b;
  a->next_ = nullptr;
  return a;
}

void Schedule::SetRoot(Scheduled* root) noexcept {
  root_ = root;
  if (root != nullptr) root->link_ = &root_;
}

void Schedule::Add(Scheduled& added) noexcept {
  added.child_ = nullptr;
  added.next_ = nullptr;
  SetRoot(Meld(root_, &added));
}

void Schedule::Remove(Scheduled& removed) noexcept {
  *removed.link_ = removed.next_;
  if (removed.next_ != nullptr) removed.next_->link_ = removed.link_;
  removed.link_ = nullptr;

  // Pairs first, then one after the other: what keeps a heap of this kind flat.
  Scheduled* pairs = nullptr;
  for (Scheduled* child = removed.child_; child != nullptr;) {
    Scheduled* const second = child->next_;
    Scheduled* const rest = second != nullptr ? second->next_ : nullptr;
    child->next_ = nullptr;
    Scheduled* const pair = Meld(child, second);
    pair->next_ = std::exchange(pairs, pair);
    child = rest;
  }
  while (pairs != nullptr) {
    Scheduled* const pair = std::exchange(pairs, pairs->next_);
    pair->next_ = nullptr;
    SetRoot(Meld(root_, pair));
  }
}

}  // namespace base::threading

#pragma once

#include <compare>
#include <cstdint>

namespace base::threading {

/// Something that is to run at a time of the steady clock. [looper thread]
class Scheduled {
 public:
  /// Nothing that was scheduled has the same number.
  struct Place {
    std::uint64_t due_ms = 0;
    std::uint64_t number = 0;
    auto operator<=>(const Place&) const = default;
  };

  Scheduled() = default;
  virtual ~Scheduled() = default;
  Scheduled(const Scheduled&) = delete;
  Scheduled& operator=(const Scheduled&) = delete;

  /// Called when it is due; it has left the schedule. May destroy the object.
  virtual void Run(std::uint64_t now_ms) = 0;
  /// Called instead when the looper closes. May destroy the object.
  virtual void Drop() {}

  [[nodiscard]] bool IsScheduled() const noexcept { return link_ != nullptr; }

  // Set before it is scheduled, and kept while it is.
  Place place;
  std::uint64_t tasks_before = 0;  ///< How many had been posted by then.

 private:
  friend class Schedule;

  Scheduled* child_ = nullptr;  ///< The first of those that come later.
  Scheduled* next_ = nullptr;   ///< The next child of the same parent.
  Scheduled** link_ = nullptr;  ///< The pointer that points here; null when not scheduled.
};

/// What is scheduled, the earliest place first: a pairing heap, so adding takes a few
/// instructions whatever its size, and nothing is allocated. Owns nothing. [looper thread]
class Schedule {
 public:
  [[nodiscard]] Scheduled* First() const noexcept { return root_; }
  void Add(Scheduled& added) noexcept;
  /// Takes out what is scheduled.
  void Remove(Scheduled& removed) noexcept;

 private:
  static Scheduled* Meld(Scheduled* a, Scheduled* b) noexcept;
  void SetRoot(Scheduled* root) noexcept;

  Scheduled* root_ = nullptr;
};

}  // namespace base::threading

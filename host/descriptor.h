// A descriptor of the operating system that this process owns, and that its forked children close.
//
// Room: host. Standard library, POSIX.
//
// A child that kept its parent's sockets would keep them alive: a sender would wait for a receiver
// that is dead, and a claim would outlive its holder. So every descriptor is made and entered into
// a list under one lock, which is held while the process is copied; the child closes what is in it.
#pragma once

#include <cerrno>
#include <utility>

namespace mesh_host {

// Whether a descriptor could not be made for want of one or of memory, which may pass.
inline bool is_shortage(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM;
}

class descriptor {
public:
  descriptor() = default;
  ~descriptor() { close(); }
  descriptor(descriptor &&other) noexcept : value_(std::exchange(other.value_, -1)) {}
  descriptor &operator=(descriptor &&other) noexcept {
    if (this != &other) {
      close();
      value_ = std::exchange(other.value_, -1);
    }
    return *this;
  }

  // What `open` returns, -1 with errno when it fails. `open` must set close-on-exec.
  template <class Open>
  static descriptor from(Open open) {
    lock_all();
    descriptor made;
    made.value_ = open();
    if (made.value_ >= 0 && !enter(made.value_))
      made.value_ = refuse(made.value_);
    unlock_all();
    return made;
  }

  int get() const { return value_; }
  explicit operator bool() const { return value_ >= 0; }
  void close();

  // Around fork.
  static void lock_all();
  static void unlock_all();
  static void close_all_in_child(); // with the lock held; leaves it free

  // When nobody uses one any more. Objects that have one let go of it later without harm.
  static void close_all();

private:
  static bool enter(int value);
  static int refuse(int value);

  int value_ = -1;
};

} // namespace mesh_host

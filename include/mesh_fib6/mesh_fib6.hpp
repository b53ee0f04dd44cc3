// The library for C++: identifiers and operations as traits, decoded records that release
// themselves, elements that are there, and typed calls for what arrives.
//
// Room: public headers. C++17 and later; header-only, exports nothing, throws nothing itself, needs
// no RTTI. Everything is a thin layer over the C functions, whose contracts in message_api.h hold:
// any thread at any time, an object by one thread at a time.
//
//     void route(const feiBrokerFib6_ipv6FwdUpdateMsg &update) {
//       for (const auto &entry : mesh_fib6::elements(update.f1, update.f1_count))
//         use(entry);
//     }
//     bool known = mesh_fib6::visit(id, bytes, size, route);
#ifndef MESH_FIB6_MESH_FIB6_HPP
#define MESH_FIB6_MESH_FIB6_HPP

#include "fib6.h"
#include "fib6_cfg.h"
#include "fib6_sync.h"
#include "message_list.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#if __has_include(<ranges>) && __cplusplus >= 202002L
#include <ranges>
#endif

namespace mesh_fib6 {

// A message type M:
//   id            M_ID
//   name          "M": of the struct, and what its functions begin with
//   module        whose <module>_recv_init registers it
//   image_size    bytes that M__send* sends for a record without pointers; 0 for one with pointers
//   pack, unpack, free_unpacked, sendsingle, sendbatch, sendmsg, sendtomsg
//                 M's functions, see message_api.h
template <class M>
struct message_traits;

#define MESH_FIB6_TRAITS(M, of_module, size_of_image)                                              \
  template <>                                                                                      \
  struct message_traits<M> {                                                                       \
    static constexpr std::uint32_t id = M##_ID;                                                    \
    static constexpr char name[] = #M;                                                             \
    static constexpr char module[] = #of_module;                                                   \
    static constexpr std::uint32_t image_size = size_of_image;                                     \
    static constexpr auto pack = &M##__pack;                                                       \
    static constexpr auto unpack = &M##__unpack;                                                   \
    static constexpr auto free_unpacked = &M##_free__unpacked;                                     \
    static constexpr auto sendsingle = &M##__sendsingle;                                           \
    static constexpr auto sendbatch = &M##__sendbatch;                                             \
    static constexpr auto sendmsg = &M##__sendmsg;                                                 \
    static constexpr auto sendtomsg = &M##__sendtomsg;                                             \
  };
MESH_FIB6_EACH_MESSAGE(MESH_FIB6_TRAITS)
#undef MESH_FIB6_TRAITS

// Whether T is the record of a message type.
template <class T, class = void>
struct is_message : std::false_type {};
template <class T>
struct is_message<T, std::void_t<decltype(message_traits<T>::id)>> : std::true_type {};

// Likewise, as a value.
template <class T>
inline constexpr bool is_message_v = is_message<T>::value;

// Some elements in a row, somebody else's. Converts to std::span where there is one.
template <class T>
class element_span {
public:
  using value_type = std::remove_cv_t<T>; // an element
  using iterator = T *;                   // points to one

  // None.
  constexpr element_span() noexcept = default;

  // `count` of them from the first on.
  constexpr element_span(T *first, std::size_t count) noexcept : first_(first), count_(count) {}

  constexpr T *begin() const noexcept { return first_; }         // the first
  constexpr T *end() const noexcept { return first_ + count_; }  // behind the last
  constexpr T *data() const noexcept { return first_; }          // where they lie
  constexpr std::size_t size() const noexcept { return count_; } // how many there are
  constexpr bool empty() const noexcept { return count_ == 0; }  // whether there are none

  // One of them; i is less than size().
  constexpr T &operator[](std::size_t i) const noexcept { return first_[i]; }

private:
  T *first_ = nullptr;
  std::size_t count_ = 0;
};

// A vector of a record, record.f1 and record.f1_count: empty when the pointer is null, whatever the
// count. Of a message that was refused, pointers are null and counts may stay.
template <class T>
constexpr element_span<T> elements(T *first, std::uint32_t count) noexcept {
  return first != nullptr ? element_span<T>(first, count) : element_span<T>();
}

// A record and what decoding allocated for it, released once. Movable; a moved-from one holds
// zeros.
//
// The library does not tell whether it has refused the bytes: then vectors are empty (see
// elements()) and members are zero, or what was read before the defect. Mostly there is a line in
// the log.
template <class M>
class decoded {
  static_assert(is_message_v<M>, "not the record of a message type");

public:
  // A record of zeros.
  decoded() noexcept { clear(); }

  // Decodes untrusted bytes. They are not needed afterwards.
  decoded(const void *bytes, std::size_t size) noexcept {
    clear(); // what is refused early is not touched
    // More than 31 bits can say is refused by the library, and must not look shorter.
    const std::uint32_t length = size <= UINT32_MAX ? static_cast<std::uint32_t>(size) : UINT32_MAX;
    message_traits<M>::unpack(static_cast<const std::uint8_t *>(bytes), length, &record_);
  }

  // Takes over what another holds, which then holds zeros.
  decoded(decoded &&other) noexcept : record_(other.record_) { other.clear(); }

  // Likewise, after giving back what was held.
  decoded &operator=(decoded &&other) noexcept {
    if (this != &other) {
      message_traits<M>::free_unpacked(&record_);
      record_ = other.record_;
      other.clear();
    }
    return *this;
  }

  // Gives back what is held.
  ~decoded() { message_traits<M>::free_unpacked(&record_); }

  // The record, as a pointer gives it or by name.
  const M &operator*() const noexcept { return record_; }
  const M *operator->() const noexcept { return &record_; } // of the record
  const M &record() const noexcept { return record_; }      // by name

  // The record with its blocks, which M_free__unpacked gives back: the caller's from now on.
  [[nodiscard]] M release() noexcept {
    const M record = record_;
    clear();
    return record;
  }

private:
  void clear() noexcept { std::memset(&record_, 0, sizeof record_); }

  M record_;
};

// The message in the compact layout; empty when it would have more bytes than 32 bits can say.
// Counts must match their pointers, see message_api.h.
template <class M>
std::vector<std::uint8_t> encode(const M &record) {
  static_assert(is_message_v<M>, "not the record of a message type");
  // Larger buffers until one is large enough. To ask for the size instead would log a line.
  for (std::uint64_t capacity = 512; capacity <= UINT32_MAX; capacity *= 4) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(capacity));
    auto length = static_cast<std::uint32_t>(capacity);
    if (message_traits<M>::pack(&record, bytes.data(), &length) == 0) {
      bytes.resize(length);
      return bytes;
    }
  }
  return {};
}

// Hands a record to the mesh: to a destination, or to one of its targets when `target` is not 0.
// Returns 0, MESH_FIB6_FAILED when nothing was sent, or what the mesh says.
template <class M>
std::uint32_t send(std::uint32_t destination, const M &record, std::uint64_t target = 0) noexcept {
  static_assert(is_message_v<M>, "not the record of a message type");
  return message_traits<M>::sendsingle(destination, &record, 0, target);
}

// Hands `count` records, at least one, to the mesh as one batch: all or none.
template <class M>
std::uint32_t send_batch(std::uint32_t destination, const M *records, std::uint32_t count,
                         std::uint64_t target = 0) noexcept {
  static_assert(is_message_v<M>, "not the record of a message type");
  return message_traits<M>::sendtomsg(destination, records, count, target);
}

// One visitor of several functions: overloaded{[](const A &) {...}, [](const B &) {...}}.
template <class... Functions>
struct overloaded : Functions... {
  using Functions::operator()...;
};
template <class... Functions>
overloaded(Functions...) -> overloaded<Functions...>;

namespace detail {

// Whether a visitor takes the record of M, to look at or to keep. Of one that takes the first the
// second is not asked, for which a generic function may not compile.
template <class Visitor, class M>
using looking = std::is_invocable<Visitor &, const M &>;
template <class Visitor, class M>
inline constexpr bool looks_at = looking<Visitor, M>::value;
template <class Visitor, class M>
inline constexpr bool keeps = std::conjunction_v<std::negation<looking<Visitor, M>>,
                                                 std::is_invocable<Visitor &, decoded<M>>>;

template <class M, class Visitor>
bool visit_bytes(const void *bytes, std::size_t size, Visitor &visitor) {
  if constexpr (looks_at<Visitor, M>) {
    const decoded<M> message(bytes, size);
    visitor(message.record());
  } else if constexpr (keeps<Visitor, M>) {
    visitor(decoded<M>(bytes, size));
  }
  return looks_at<Visitor, M> || keeps<Visitor, M>;
}

template <class M, class Visitor>
bool visit_record(const void *record, std::size_t size, Visitor &visitor) {
  if constexpr (looks_at<Visitor, M>) {
    if (record == nullptr || size != sizeof(M))
      return false;
    visitor(*static_cast<const M *>(record));
  }
  return looks_at<Visitor, M>;
}

} // namespace detail

// Decodes a message that has arrived under an identifier and calls visitor(const M &), or, when it
// does not take that, visitor(decoded<M>), which it may keep. What the visitor returns is dropped.
// False when there is no such identifier or the visitor takes nothing of its type: nothing was
// done.
template <class Visitor>
bool visit(std::uint32_t id, const void *bytes, std::size_t size, Visitor &&visitor) {
  switch (id) {
#define MESH_FIB6_CASE(M, module, image_size)                                                      \
  case M##_ID:                                                                                     \
    return detail::visit_bytes<M>(bytes, size, visitor);
    MESH_FIB6_EACH_MESSAGE(MESH_FIB6_CASE)
#undef MESH_FIB6_CASE
  default:
    return false;
  }
}

// Likewise with the record that the mesh has decoded and hands to a receiver, whose it stays:
// calls visitor(const M &).
template <class Visitor>
bool visit_record(std::uint32_t id, const void *record, std::size_t size, Visitor &&visitor) {
  switch (id) {
#define MESH_FIB6_CASE(M, module, image_size)                                                      \
  case M##_ID:                                                                                     \
    return detail::visit_record<M>(record, size, visitor);
    MESH_FIB6_EACH_MESSAGE(MESH_FIB6_CASE)
#undef MESH_FIB6_CASE
  default:
    return false;
  }
}

} // namespace mesh_fib6

#if __has_include(<ranges>) && defined(__cpp_lib_ranges)
template <class T>
inline constexpr bool std::ranges::enable_borrowed_range<mesh_fib6::element_span<T>> = true;
template <class T>
inline constexpr bool std::ranges::enable_view<mesh_fib6::element_span<T>> = true;
#endif

#endif

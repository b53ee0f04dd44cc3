// The golden files of tests/golden, each with the records that its lines say.
//
// Room: tests. Needs MESH_FIB6_GOLDEN_DIR. Finds messages by the schema's descriptors: a message
// more is a file more.
#pragma once

#include "tests/support/annotated.h"
#include "tests/support/random_record.h"
#include "tools/descriptors.h"

#include <list>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace golden {

using mesh_fib6::tools::message_descriptor;
using mesh_fib6::tools::table_descriptor;
using bytes = std::vector<uint8_t>;

// An image and what it is of.
struct image {
  std::string name;
  golden::bytes bytes;
  const void *record;
  bool fixed;
  uint32_t byte_swap;
};

class file {
public:
  explicit file(const message_descriptor &message);

  const annotated::file &text() const { return text_; }
  const std::vector<image> &images() const { return images_; }

  // Throw when there is none of that name.
  const golden::image &image_of(std::string_view name) const;
  const bytes &bytes_of(std::string_view name) const { return image_of(name).bytes; }
  const void *record_of(std::string_view name) const;

private:
  annotated::file text_;
  std::list<random_record::owned_record> owned_;
  std::map<std::string, const void *, std::less<>> records_;
  std::vector<image> images_;
};

// The file of a message, read once.
const file &of(const message_descriptor &message);
const file &of(std::string_view message);

template <class M>
const file &file_of() {
  return of(mesh_fib6::operations<M>::name);
}
template <class M>
const M &record_of(std::string_view name) {
  return *static_cast<const M *>(file_of<M>().record_of(name));
}

// Every message of every module.
std::vector<const message_descriptor *> messages();

// Throws when there is none of that name.
const message_descriptor &message_named(std::string_view name);

} // namespace golden

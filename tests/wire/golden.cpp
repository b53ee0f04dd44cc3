// Golden files with their records; see golden.h.
//
// Room: tests.
#include "tests/wire/golden.h"

#include "tests/support/record_text.h"

#include <mutex>

namespace golden {

file::file(const message_descriptor &message)
    : text_(annotated::read(std::string(MESH_FIB6_GOLDEN_DIR "/") + message.name + ".txt")) {
  for (const annotated::record &each : text_.records) {
    owned_.push_back(record_text::read(*message.table, text_.path, each.lines));
    records_[each.name] = owned_.back().get();
  }
  for (const annotated::image &each : text_.images) {
    const annotated::naming naming = annotated::naming_of(each.name);
    images_.push_back(
        {each.name, each.bytes, records_.at(naming.record), naming.fixed, naming.byte_swap});
  }
}

const image &file::image_of(std::string_view name) const {
  for (const image &each : images_)
    if (each.name == name)
      return each;
  throw std::runtime_error(text_.path + ": has no image [" + std::string(name) + "]");
}

const void *file::record_of(std::string_view name) const {
  const auto found = records_.find(name);
  if (found == records_.end())
    throw std::runtime_error(text_.path + ": has no [record " + std::string(name) + "]");
  return found->second;
}

const file &of(const message_descriptor &message) {
  static std::mutex lock;
  static std::map<std::string, file> files;
  const std::lock_guard<std::mutex> held(lock);
  const auto found = files.find(message.name);
  return found != files.end() ? found->second
                              : files.try_emplace(message.name, message).first->second;
}

const file &of(std::string_view message) {
  return of(message_named(message));
}

const message_descriptor &message_named(std::string_view name) {
  for (const message_descriptor *each : messages())
    if (each->name == name)
      return *each;
  throw std::runtime_error("no message is named " + std::string(name));
}

std::vector<const message_descriptor *> messages() {
  std::vector<const message_descriptor *> list;
  mesh_fib6::tools::for_each_message(
      [&list](const message_descriptor &message) { list.push_back(&message); });
  return list;
}

} // namespace golden

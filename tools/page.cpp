// Makes pages of messages; see page.h.
//
// Room: tools.
#include "tools/page.h"

#include "tools/byte_map.h"
#include "tools/explain.h"
#include "tools/hex_text.h"
#include "tools/json_text.h"
#include "tools/member_rows.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <map>
#include <string_view>

namespace mesh_fib6::tools {

// page/message.html, made a part of the program by the build.
extern const std::string_view message_page;

namespace {

// What stands on both sides of a mark in a text, the mark given way to another text.
std::string with(std::string_view text, std::string_view mark, std::string_view instead) {
  const size_t at = text.find(mark);
  return std::string(text.substr(0, at)).append(instead).append(text.substr(at + mark.size()));
}

// JSON may hold "</script>", which would end the element that it is in.
std::string in_script(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char character : text)
    result += character == '<' ? "\\u003c" : std::string(1, character);
  return result;
}

class page_data {
public:
  explicit page_data(const anatomy &of) : of_(of) {
    for (const part &part : of.parts())
      if (part.role == role::items)
        items_.emplace(part.node, part);
  }

  void put_nodes(json_text &to) const {
    to.StartArray();
    for (uint32_t i = 0; i < of_.nodes().size(); i++) {
      const node &node = of_.nodes()[i];
      to.StartArray();
      to.Uint(node.parent);
      put(to, node.is_element()       ? "[" + std::to_string(node.element) + "]"
              : node.field != nullptr ? std::string(node.field->name)
                                      : std::string("root"));
      put(to, node.field != nullptr && node.table == nullptr ? type_of(*node.field)
              : node.table != nullptr                        ? std::string(node.table->name)
                                                             : std::string());
      put(to, value_of(i));
      to.EndArray();
    }
    to.EndArray();
  }

  // `nodes` are those that parts of this anatomy belong to, by their paths.
  void put_map(json_text &to, const std::map<std::string, uint32_t> &nodes) const {
    to.StartObject();
    put(to, "name", arrangement());
    put(to, "hex", digits());
    to.Key("parts");
    to.StartArray();
    for (const part &part : of_.parts()) {
      to.StartArray();
      to.Uint(part.at);
      to.Uint(part.size);
      put(to, name_of(part.role));
      to.Uint(nearest(part.node, nodes));
      put(to, of_.meaning_of(part));
      to.EndArray();
    }
    to.EndArray();
    to.Key("stretches");
    to.StartArray();
    for (const stretch &stretch : of_.stretches()) {
      to.StartArray();
      to.Uint(stretch.at);
      to.Uint(stretch.size);
      put(to, name_of(stretch.standing));
      to.StartArray();
      for (const uint32_t part : stretch.parts)
        to.Uint(part);
      to.EndArray();
      to.Uint64(stretch.part_count - stretch.parts.size());
      put(to, stretch.padding);
      to.EndArray();
    }
    to.EndArray();
    to.Key("wrong");
    if (const auto &refusal = of_.refusal()) {
      to.StartArray();
      to.Uint(refusal->at);
      to.Uint(refusal->size);
      put(to, text_of(of_, *refusal));
      to.EndArray();
    } else {
      to.Null();
    }
    to.EndObject();
  }

  std::map<std::string, uint32_t> paths() const {
    std::map<std::string, uint32_t> result;
    for (uint32_t i = 0; i < of_.nodes().size(); i++)
      result.emplace(of_.path_of(i), i);
    return result;
  }

private:
  // What is absent in the one layout may be there in the other: then, what it would be in.
  uint32_t nearest(uint32_t node, const std::map<std::string, uint32_t> &nodes) const {
    for (;; node = of_.nodes()[node].parent) {
      const auto found = nodes.find(of_.path_of(node));
      if (found != nodes.end())
        return found->second;
      if (of_.nodes()[node].parent == node)
        return 0;
    }
  }

  std::string arrangement() const {
    const bool is_behind = !of_.nodes().empty() && of_.parts().size() > 2 &&
                           of_.parts()[2].role == role::vtable_size &&
                           of_.parts()[2].at > of_.nodes()[0].at;
    return is_behind ? "fixed" : "compact";
  }

  std::string digits() const {
    std::string text;
    text.reserve(2 * of_.bytes().size());
    for (const uint8_t byte : of_.bytes()) {
      text += "0123456789abcdef"[byte >> 4];
      text += "0123456789abcdef"[byte & 15];
    }
    return text;
  }

  std::string value_of(uint32_t index) const {
    const node &node = of_.nodes()[index];
    if (node.field == nullptr || node.field->kind == kind::table)
      return {};
    if (node.field->kind == kind::scalar)
      return anatomy::number_text(node.number, node.field->width);
    if (node.field->kind == kind::table_vector)
      return std::to_string(node.number) + (node.number == 1 ? " element" : " elements");
    const auto found = items_.find(index);
    if (found == items_.end())
      return node.field->kind == kind::byte_vector && node.number == 0 ? "no bytes" : std::string();
    return items_of(found->second, *node.field);
  }

  // As many items as a line shows; of four words the address that they may be, too.
  std::string items_of(const part &items, const field_descriptor &field) const {
    constexpr uint32_t most = 16;
    const uint32_t count = items.size / of_.item_width(items);
    std::string text = of_.items_text(items, 0, std::min(count, most) - 1);
    text.erase(0, text.find("= ") + 2);
    if (count > most)
      text += " ... (" + std::to_string(count) + ")";
    std::array<char, INET6_ADDRSTRLEN> address{};
    if (field.kind == kind::words && items.size == sizeof(in6_addr) &&
        inet_ntop(AF_INET6, &of_.bytes()[items.at], address.data(), address.size()) != nullptr)
      text += std::string(" (") + address.data() + ")";
    return text;
  }

  const anatomy &of_;
  std::map<uint32_t, part> items_; // by their nodes
};

} // namespace

std::string page_of(const anatomy &of, const anatomy *other) {
  const page_data page(of);
  const std::map<std::string, uint32_t> nodes = page.paths();
  const std::string title =
      std::string(of.message().name) + ", " + std::to_string(of.bytes().size()) + " bytes";
  json_buffer buffer;
  json_text to(buffer);
  to.StartObject();
  put(to, "title", title);
  put(to, "verdict",
      of.refusal()
          ? "The library refuses it: " + text_of(of, *of.refusal())
          : std::string(of.is_cut() ? "The library takes it. There is more in it than fits "
                                      "here."
                                    : "The library takes it."));
  to.Key("sound");
  to.Bool(!of.refusal());
  to.Key("blamed");
  if (of.refusal() && !of.nodes().empty())
    to.Uint(of.refusal()->node);
  else
    to.Null();
  to.Key("nodes");
  page.put_nodes(to);
  to.Key("maps");
  to.StartArray();
  page.put_map(to, nodes);
  if (other != nullptr)
    page_data(*other).put_map(to, nodes);
  to.EndArray();
  to.EndObject();
  return with(with(message_page, "@TITLE@", in_markup(title)), "@DATA@",
              in_script({buffer.GetString(), buffer.GetSize()}));
}

} // namespace mesh_fib6::tools

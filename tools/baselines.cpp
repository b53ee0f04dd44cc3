// Makes the baselines; see baselines.h.
//
// Room: tools.
#include "tools/baselines.h"

#include "tools/descriptors.h"
#include "tools/fbs.h"
#include "tools/python_records.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>

namespace mesh_fib6::tools {
namespace {

// Sorted, one a line.
std::string exports() {
  std::set<std::string> names;
  for (const module_descriptor &module : modules) {
    for (const char *entry_point : {"_recv_init", "_send_init", "__send_resource_clean"})
      names.insert(std::string(module.name) + entry_point);
    for (const message_descriptor &message : module.messages)
      for (const char *operation : {"__pack", "__unpack", "_free__unpacked", "__sendsingle",
                                    "__sendbatch", "__sendmsg", "__sendtomsg"})
        names.insert(std::string(message.name) + operation);
  }
  std::string text;
  for (const std::string &name : names)
    text += name + "\n";
  return text;
}

// A line of a macro that goes on: its end stands where clang-format puts it.
std::string continued(std::string line) {
  constexpr size_t end_at = 99;
  line.resize(std::max(line.size() + 1, end_at), ' ');
  return line + "\\\n";
}

std::string upper(std::string_view text) {
  std::string result(text);
  for (char &each : result)
    each = each >= 'a' && each <= 'z' ? static_cast<char>(each - 'a' + 'A') : each;
  return result;
}

std::string each_of(const module_descriptor &module) {
  return "MESH_FIB6_EACH_OF_" + upper(module.name);
}

// The macros of mesh_fib6/message_list.h.
std::string message_list() {
  std::string text =
      R"(/* The message types of each module, in the order in which they are registered.
 *
 * Room: public headers. Written by the target refresh-baselines from the modules' lists: not to be
 * edited. For programs that do something for every message: X(M, module, image_size) is handed the
 * record type, its module's name, and the bytes of the fixed image in which M__send* sends it; 0
 * for a record with pointers, which travels in the compact layout. Only names: include the headers
 * of the modules, or messages.h, to use them.
 *     #define PRINT(M, module, image_size) printf("%08x %s\n", (unsigned)M##_ID, #M);
 *     MESH_FIB6_EACH_MESSAGE(PRINT)
 */
#ifndef MESH_FIB6_MESSAGE_LIST_H
#define MESH_FIB6_MESSAGE_LIST_H
)";
  std::string all = continued("#define MESH_FIB6_EACH_MESSAGE(X)");
  for (const module_descriptor &module : modules) {
    text += "\n" + continued("#define " + each_of(module) + "(X)");
    for (const message_descriptor &message : module.messages) {
      const std::string line = std::string("  X(") + message.name + ", " + module.name + ", " +
                               std::to_string(message.fixed_image_size) + ")";
      text += &message == &module.messages.back() ? line + "\n" : continued(line);
    }
    const std::string line = "  " + each_of(module) + "(X)";
    all += &module == &modules[std::size(modules) - 1] ? line + "\n" : continued(line);
  }
  return text + "\n" + all + "\n#endif\n";
}

} // namespace

std::vector<baseline> baselines() {
  std::vector<baseline> all{{"abi/exports.txt", exports()},
                            {"include/mesh_fib6/message_list.h", message_list()}};
  for (const module_descriptor &module : modules)
    all.push_back({std::string("schemas/") + module.name + ".fbs", fbs_of(module)});
  all.push_back({"python/mesh_fib6/_records.py", python_records()});
  return all;
}

} // namespace mesh_fib6::tools

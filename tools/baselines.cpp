// Makes the baselines; see baselines.h.
//
// Room: tools.
#include "tools/baselines.h"

#include "tools/descriptors.h"
#include "tools/fbs.h"

#include <set>

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

} // namespace

std::vector<baseline> baselines() {
  std::vector<baseline> all{{"abi/exports.txt", exports()}};
  for (const module_descriptor &module : modules)
    all.push_back({std::string("schemas/") + module.name + ".fbs", fbs_of(module)});
  return all;
}

} // namespace mesh_fib6::tools

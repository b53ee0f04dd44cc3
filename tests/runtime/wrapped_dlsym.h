// dlsym as the library's objects see it in these tests (the linker's --wrap sends them here):
// counts every look-up and can hide names.
//
// Room: tests. Thread-safe.
#pragma once

#include <map>
#include <set>
#include <string>

namespace wrapped_dlsym {

using counts = std::map<std::string, int>;

void reset(); // nothing counted, nothing hidden
void hide(const std::set<std::string> &names);
counts look_ups();
// Were all of them made in the process-global scope?
bool all_global();

} // namespace wrapped_dlsym

// Counting and hiding look-ups.
//
// Room: tests.
#include "tests/runtime/wrapped_dlsym.h"

#include <dlfcn.h>
#include <mutex>

namespace {

struct state {
  std::mutex lock;
  wrapped_dlsym::counts look_ups;
  std::set<std::string> hidden;
  bool all_global = true;
};

state &the_state() {
  static state &instance = *new state;
  return instance;
}

using guard = std::lock_guard<std::mutex>;

} // namespace

namespace wrapped_dlsym {

void reset() {
  state &s = the_state();
  const guard held(s.lock);
  s.look_ups.clear();
  s.hidden.clear();
  s.all_global = true;
}

void hide(const std::set<std::string> &names) {
  state &s = the_state();
  const guard held(s.lock);
  s.hidden = names;
}

counts look_ups() {
  state &s = the_state();
  const guard held(s.lock);
  return s.look_ups;
}

bool all_global() {
  state &s = the_state();
  const guard held(s.lock);
  return s.all_global;
}

} // namespace wrapped_dlsym

extern "C" {

void *__real_dlsym(void *handle, const char *name);
void *__wrap_dlsym(void *handle, const char *name);

void *__wrap_dlsym(void *handle, const char *name) {
  state &s = the_state();
  const guard held(s.lock);
  ++s.look_ups[name];
  s.all_global = s.all_global && handle == RTLD_DEFAULT;
  return s.hidden.contains(name) ? nullptr : __real_dlsym(handle, name);
}
}

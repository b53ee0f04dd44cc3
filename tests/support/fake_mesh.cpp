// The four functions of the recording mesh, and the questions tests ask it afterwards.
//
// Room: tests.
#include "tests/support/fake_mesh.h"
#include "tests/support/definedness.h"

#include <mutex>
#include <utility>

namespace fake_mesh {
namespace {

struct state {
  std::mutex lock;
  std::vector<send> sends;
  std::vector<registration> registrations;
  std::vector<mesh_clean_hook> clean_hooks;
  uint64_t send_result = 0;
  uint32_t refused_registration = 0; // 0: none
  uint32_t refusal = 0;
  uint32_t clean_result = 0;
  bool copy = true;
  send_observer observer;
};

// Never destroyed: threads of a test may outlive main's statics.
state &the_state() {
  static state &instance = *new state;
  return instance;
}

using guard = std::lock_guard<std::mutex>;

message copy_of(const msg_desc &descriptor) {
  const auto *first = static_cast<const uint8_t *>(descriptor.data);
  message copy{
      descriptor.id, descriptor.data, descriptor.length, {first, first + descriptor.length}};
  definedness::settle(copy.bytes.data(), copy.bytes.size()); // looked at once is enough
  return copy;
}

// What leaves the process has been written by somebody: an undefined byte is an error to valgrind.
void look_at(const send &call) {
  definedness::check(call.descriptors, sizeof(msg_desc) * call.count);
  for (uint32_t i = 0; i < call.count; ++i) {
    const msg_desc &message = call.descriptors[i];
    definedness::check(message.data, message.length);
  }
}

uint64_t record(send call) {
  state &s = the_state();
  std::unique_lock<std::mutex> held(s.lock);
  if (s.copy)
    look_at(call);
  for (uint32_t i = 0; s.copy && i < call.count; ++i)
    call.messages.push_back(copy_of(call.descriptors[i]));
  s.sends.push_back(call);
  const send_observer observer = s.observer;
  const uint64_t result = s.send_result;
  held.unlock(); // the observer may ask questions, or send
  if (observer)
    observer(call);
  return result;
}

} // namespace

void reset() {
  state &s = the_state();
  const guard held(s.lock);
  s.sends.clear();
  s.registrations.clear();
  s.clean_hooks.clear();
  s.send_result = 0;
  s.refused_registration = 0;
  s.refusal = 0;
  s.clean_result = 0;
  s.copy = true;
  s.observer = nullptr;
}

std::vector<send> sends() {
  state &s = the_state();
  const guard held(s.lock);
  return s.sends;
}

std::vector<registration> registrations() {
  state &s = the_state();
  const guard held(s.lock);
  return s.registrations;
}

std::vector<mesh_clean_hook> clean_hooks() {
  state &s = the_state();
  const guard held(s.lock);
  return s.clean_hooks;
}

void set_send_result(uint64_t result) {
  state &s = the_state();
  const guard held(s.lock);
  s.send_result = result;
}

void refuse_registration(uint32_t n, uint32_t result) {
  state &s = the_state();
  const guard held(s.lock);
  s.refused_registration = n;
  s.refusal = result;
}

void set_clean_result(uint32_t result) {
  state &s = the_state();
  const guard held(s.lock);
  s.clean_result = result;
}

void copy_payloads(bool copy) {
  state &s = the_state();
  const guard held(s.lock);
  s.copy = copy;
}

void on_send(send_observer observer) {
  state &s = the_state();
  const guard held(s.lock);
  s.observer = std::move(observer);
}

} // namespace fake_mesh

extern "C" {

uint64_t MESH_SendMsg(uint32_t destination, const msg_desc *messages, uint32_t count) {
  return fake_mesh::record({false, destination, messages, count, 0, {}});
}

uint64_t MESH_SendToMsg(uint32_t destination, const msg_desc *messages, uint32_t count,
                        uint64_t target) {
  return fake_mesh::record({true, destination, messages, count, target, {}});
}

uint32_t MESH_RegIDLFuncHook(uint32_t id, mesh_unpack_hook unpack, mesh_free_hook release) {
  fake_mesh::state &s = fake_mesh::the_state();
  const fake_mesh::guard held(s.lock);
  s.registrations.push_back({id, unpack, release});
  return s.registrations.size() == s.refused_registration ? s.refusal : 0;
}

uint32_t MESH_RegIDLResorceCleanFuncHook(mesh_clean_hook clean) {
  fake_mesh::state &s = fake_mesh::the_state();
  const fake_mesh::guard held(s.lock);
  s.clean_hooks.push_back(clean);
  return s.clean_result;
}
}

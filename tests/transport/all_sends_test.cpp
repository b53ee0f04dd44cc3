// What holds for the send operations of every message alike: results, count 0, threads.
//
// Room: tests.
#include "tests/transport/sending.h"

#include <atomic>
#include <barrier>
#include <map>
#include <pthread.h>
#include <stdexcept>
#include <thread>

using namespace messages;
using namespace sending;

namespace {

class AllSends : public Sends {};

// Two records of any message.
template <class M>
struct two_records {
  two_records() {
    for (const flat_sample<M> &sample : flat<M>::samples())
      storage.push_back(sample.record);
  }
  const M *data() const { return storage.data(); }
  std::vector<M> storage;
};
template <class M>
requires requires {
  typename tree<M>::element;
}
struct two_records<M> {
  two_records() {
    storage.add(0, 1, 0);
    storage.add(5, 0, 1);
  }
  const M *data() const { return storage.data(); }
  tree_records<M> storage;
};

// Each operation in its single and its batch form.
constexpr size_t ways_to_send = 11;

template <class M>
uint32_t send_in_way(size_t way, const M *first) {
  switch (way) {
  case 0:
    return operations<M>::sendsingle(destination, first, 0, 0);
  case 1:
    return operations<M>::sendsingle(destination, first, 0, 1);
  case 2:
    return operations<M>::sendbatch(destination, first, 0, 0);
  case 3:
    return operations<M>::sendbatch(destination, first, 2, 0);
  case 4:
    return operations<M>::sendbatch(destination, first, 2, 1);
  case 5:
    return operations<M>::sendmsg(destination, first, 1);
  case 6:
    return operations<M>::sendmsg(destination, first, 2);
  case 7:
    return operations<M>::sendtomsg(destination, first, 1, 0);
  case 8:
    return operations<M>::sendtomsg(destination, first, 1, 1);
  case 9:
    return operations<M>::sendtomsg(destination, first, 2, 0);
  case 10:
    return operations<M>::sendtomsg(destination, first, 2, 1);
  }
  throw std::out_of_range("a way to send");
}

// Calls check(send) for each, where send() sends and returns the result.
template <class M, class Check>
void each_way_to_send(Check check) {
  const two_records<M> records;
  for (size_t way = 0; way < ways_to_send; ++way)
    check([&] { return send_in_way<M>(way, records.data()); });
}

TEST_F(AllSends, SendmsgAndSendtomsgOfNothingFailAndTouchNothing) {
  each_message([]<class M> {
    const two_records<M> records;
    for (const M *first : {records.data(), static_cast<const M *>(nullptr)}) {
      EXPECT_EQ(operations<M>::sendmsg(destination, first, 0), failed);
      for (const uint64_t target : targets)
        EXPECT_EQ(operations<M>::sendtomsg(destination, first, 0, target), failed);
    }
    EXPECT_TRUE(heap_calls().empty());
    expect_nothing_sent();
  });
}

TEST_F(AllSends, TheMeshsResultReachesTheCallerInItsLow32Bits) {
  constexpr uint64_t results[] = {0,
                                  1,
                                  0x4D480001,
                                  0xFFFFFFFF,
                                  UINT64_C(0x1234567800000007),
                                  UINT64_C(0xFFFFFFFF00000000),
                                  UINT64_MAX};
  each_message([&]<class M> {
    for (const uint64_t result : results)
      each_way_to_send<M>([&](auto send) {
        fake_mesh::set_send_result(result);
        EXPECT_EQ(send(), static_cast<uint32_t>(result)) << std::hex << result;
        EXPECT_EQ(fake_osal::live_blocks(), 0u);
      });
    EXPECT_EQ(fake_mesh::sends().size(), ways_to_send * std::size(results));
  });
}

TEST_F(AllSends, EveryDestinationIsPassedUnchanged) {
  each_message([]<class M> {
    const two_records<M> records;
    std::vector<uint32_t> expected;
    for (const uint32_t where : {0u, 1u, 0x80000000u, 0xFFFFFFFFu}) {
      operations<M>::sendsingle(where, records.data(), 0, 0);
      operations<M>::sendsingle(where, records.data(), 0, 1);
      operations<M>::sendbatch(where, records.data(), 2, 0);
      operations<M>::sendbatch(where, records.data(), 2, 1);
      operations<M>::sendmsg(where, records.data(), 1);
      operations<M>::sendtomsg(where, records.data(), 1, 1);
      expected.insert(expected.end(), 6, where);
    }
    std::vector<uint32_t> seen;
    for (const fake_mesh::send &send : fake_mesh::sends())
      seen.push_back(send.destination);
    EXPECT_EQ(seen, expected);
  });
}

TEST_F(AllSends, NoLockIsHeldAcrossAMeshCall) {
  each_message([]<class M> {
    size_t calls = 0;
    fake_mesh::on_send([&](const fake_mesh::send &) {
      ++calls;
      mesh_fib6::runtime::unit_runtime &runtime = send_unit_of<M>().runtime;
      for (pthread_mutex_t *lock : {&runtime.bind_lock, &runtime.cache_lock}) {
        EXPECT_EQ(pthread_mutex_trylock(lock), 0);
        pthread_mutex_unlock(lock);
      }
    });
    each_way_to_send<M>([](auto send) { EXPECT_EQ(send(), 0u); });
    EXPECT_EQ(calls, ways_to_send);
  });
}

TEST_F(AllSends, AMeshThatSendsFromInsideASendIsServed) {
  each_message([]<class M> {
    const two_records<M> records;
    bool inside = false;
    fake_mesh::on_send([&](const fake_mesh::send &) {
      if (inside)
        return;
      inside = true;
      std::thread([&] {
        EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), 2, 0), 0u);
      }).join();
      inside = false;
    });
    each_way_to_send<M>([](auto send) { EXPECT_EQ(send(), 0u); });
    EXPECT_EQ(fake_mesh::sends().size(), 2 * ways_to_send);
  });
}

TEST_F(AllSends, ASendBindsOnlyTheSendUnitOfItsOwnModule) {
  mesh_fib6::fib6::recv_unit = {};
  mesh_fib6::fib6_cfg::recv_unit = {};
  each_tree([]<class M> { each_way_to_send<M>([](auto send) { EXPECT_EQ(send(), 0u); }); });
  EXPECT_EQ(mesh_fib6::fib6::send_unit.runtime.bound, 1u);
  EXPECT_EQ(mesh_fib6::fib6::send_unit.runtime.cache_bound, 1u);
  EXPECT_EQ(mesh_fib6::fib6_cfg::send_unit.runtime.bound, 0u);
  EXPECT_EQ(mesh_fib6::fib6_cfg::send_unit.runtime.cache_bound, 0u);
  for (const auto *unit : {&mesh_fib6::fib6::recv_unit, &mesh_fib6::fib6_cfg::recv_unit}) {
    EXPECT_EQ(unit->runtime.bound, 0u);
    EXPECT_EQ(unit->runtime.cache_bound, 0u);
  }
}

// What one thread of the race sends, and what must arrive at its destination.
using expectation = std::map<uint32_t, std::vector<std::vector<uint8_t>>>;

constexpr uint32_t threads = 8;
constexpr uint32_t rounds = 40;

// Thread t sends its own records to its own destinations, by every operation.
template <class M>
void send_as_thread(uint32_t t) {
  if constexpr (requires { typename tree<M>::element; }) {
    tree_records<M> records;
    records.add(t + 1, t % 3, 1);
    records.add(0, 1, t % 4);
    EXPECT_EQ(operations<M>::sendsingle(t, records.data(), 0, t), 0u);
    EXPECT_EQ(operations<M>::sendbatch(t, records.data(), 2, t), 0u);
    EXPECT_EQ(operations<M>::sendmsg(t, records.data() + 1, 1), 0u);
    EXPECT_EQ(operations<M>::sendtomsg(t, records.data(), 2, t), 0u);
  } else {
    std::vector<M> records(2, flat<M>::samples().front().record);
    records[0].f0 = t;
    EXPECT_EQ(operations<M>::sendsingle(t, records.data(), 0, t), 0u);
    EXPECT_EQ(operations<M>::sendbatch(t, records.data(), 2, t), 0u);
    EXPECT_EQ(operations<M>::sendmsg(t, records.data() + 1, 1), 0u);
    EXPECT_EQ(operations<M>::sendtomsg(t, records.data(), 2, t), 0u);
  }
}

template <class M>
void append_round(uint32_t t, std::vector<std::vector<uint8_t>> &out) {
  std::vector<uint8_t> first, second;
  if constexpr (requires { typename tree<M>::element; }) {
    tree_records<M> records;
    records.add(t + 1, t % 3, 1);
    records.add(0, 1, t % 4);
    first = packed(records.data()[0], records.size(0));
    second = packed(records.data()[1], records.size(1));
  } else {
    first = second = flat<M>::samples().front().image;
    first[8] = static_cast<uint8_t>(t); // f0 of both flat messages is at byte 8
    std::fill(first.begin() + 9, first.begin() + 12, uint8_t{0});
  }
  out.insert(out.end(), {first, first, second, second, first, second});
}

template <class M>
void send_in_parallel() {
  std::barrier together(threads);
  std::vector<std::thread> running;
  for (uint32_t t = 0; t < threads; ++t)
    running.emplace_back([&together, t] {
      together.arrive_and_wait();
      for (uint32_t round = 0; round < rounds; ++round)
        send_as_thread<M>(t);
    });
  for (std::thread &thread : running)
    thread.join();
}

TEST_F(AllSends, ParallelSendsNeitherMixNorLeak) {
  each_message([]<class M> {
    send_unit_of<M>() = {};
    send_in_parallel<M>();

    expectation seen, expected;
    for (const fake_mesh::send &send : fake_mesh::sends())
      for (const fake_mesh::message &message : send.messages) {
        EXPECT_EQ(message.id, operations<M>::id);
        seen[send.destination].push_back(message.bytes);
      }
    EXPECT_EQ(fake_osal::calls_of(fake_osal::call_kind::use_flag_get).size(), 1u)
        << "the unit was bound by more than one thread";
    for (uint32_t t = 0; t < threads; ++t)
      for (uint32_t round = 0; round < rounds; ++round)
        append_round<M>(t, expected[t]);
    EXPECT_TRUE(seen == expected);
    EXPECT_EQ(fake_osal::live_blocks(), 0u);
  });
}

} // namespace

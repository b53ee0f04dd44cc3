// Vectors whose elements lie as our writer lays them, but for one. The decoder reads such elements
// as a run, and what lies otherwise field by field: nobody may be able to tell where the one way
// ended and the other began, neither by what is read nor by what is refused.
//
// Room: tests. Where the fields lie and what they hold is element_wire.h's.
#include "tests/reference/element_wire.h"
#include "tests/wire/decoding.h"
#include "tests/wire/log_expectation.h"
#include "tests/wire/operations.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <utility>

namespace {

using namespace element_wire;
using texts = std::vector<std::string>;

constexpr uint32_t f0_value = 0xF0F1F2F3;

// What a decode left behind, while it is being looked at.
struct outcome {
  uint32_t count;
  const uint8_t *array; // the elements
  std::optional<uint32_t> f0;
  const std::vector<fake_osal::call> &calls;
  const std::vector<fake_osal::log_line> &lines;
};
using check = std::function<void(const outcome &)>;

// Decodes in place a message whose only vector is Array.
template <class M, auto Count, auto Array>
void decode(const uint8_t *wire, uint32_t size, uint32_t byte_swap, const check &look) {
  const decoding<M> decoded(wire, size, {.byte_swap = byte_swap});
  outcome left{.count = decoded.record.*Count,
               .array = reinterpret_cast<const uint8_t *>(decoded.record.*Array),
               .f0 = {},
               .calls = decoded.calls,
               .lines = decoded.lines};
  if constexpr (std::is_same_v<decltype(M::f0), uint32_t>)
    left.f0 = decoded.record.f0;
  look(left);
}

struct vector_case {
  std::string message;
  element_type type;
  uint32_t root_slots, slot;
  std::optional<uint32_t> f0;
  void (*decode)(const uint8_t *, uint32_t, uint32_t, const check &);
};

template <class M, auto Count, auto Array>
vector_case case_of(const element_type &type, uint32_t slot) {
  std::optional<uint32_t> f0;
  if constexpr (std::is_same_v<decltype(M::f0), uint32_t>)
    f0 = f0_value;
  return {operations<M>::name,     type, mesh_fib6::wire::table<M>::slots, slot, f0,
          &decode<M, Count, Array>};
}

const std::vector<vector_case> &all_cases() {
  using routes = feiBrokerFib6_ipv6FwdUpdateMsg;
  using route_keys = feiBrokerFib6_ipv6FwdDelMsg;
  using group = feiBrokerFib6_nhp6GroupUpdateMsg;
  using group_keys = feiBrokerFib6_nhp6GroupDelMsg;
  using hops = feiBrokerFib6_nhp6UpdateMsg;
  using lists = feiBrokerFib6_srv6SrListUpdateMsg;
  using list_keys = feiBrokerFib6_srv6SrListDelMsg;
  using path_mtus = feiBrokerFib6_ipv6PathMtuUpdateMsg;
  using path_mtu_keys = feiBrokerFib6_ipv6PathMtuDelMsg;
  using fib = fib6_cfg_query_fib6_rec;
  using dfx = fib6_cfg_query_dfx_rec;
  static const std::vector<vector_case> list = {
      case_of<routes, &routes::f1_count, &routes::f1>(route(), 1),
      case_of<route_keys, &route_keys::f1_count, &route_keys::f1>(route_key(), 1),
      case_of<group, &group::f2_count, &group::f2>(group_node(), 2),
      case_of<group_keys, &group_keys::f1_count, &group_keys::f1>(group_key(), 1),
      case_of<hops, &hops::f2_count, &hops::f2>(hop_std(), 2),
      case_of<hops, &hops::f3_count, &hops::f3>(hop_ext(), 3),
      case_of<hops, &hops::f4_count, &hops::f4>(hop_vpn(), 4),
      case_of<hops, &hops::f5_count, &hops::f5>(hop_vxlan(), 5),
      case_of<hops, &hops::f6_count, &hops::f6>(hop_vpn_sid(), 6),
      case_of<hops, &hops::f7_count, &hops::f7>(hop_te(), 7),
      case_of<lists, &lists::f1_count, &lists::f1>(segment_list(), 1),
      case_of<list_keys, &list_keys::f1_count, &list_keys::f1>(list_key(), 1),
      case_of<path_mtus, &path_mtus::f1_count, &path_mtus::f1>(path_mtu(), 1),
      case_of<path_mtu_keys, &path_mtu_keys::f1_count, &path_mtu_keys::f1>(path_mtu_key(), 1),
      case_of<fib, &fib::f1_count, &fib::f1>(fib_item(), 1),
      case_of<dfx, &dfx::f1_count, &dfx::f1>(dfx_item(), 1),
  };
  return list;
}

class CompactRun : public testing::Test {
protected:
  const vector_case &given() const { return *given_; }
  const element_type &type() const { return given_->type; }

  message message_of(const vector &elements) const {
    return {.root_slots = given().root_slots, .f0 = given().f0, .vectors = {elements}};
  }

  // Decodes right before an inaccessible page, and right behind one: at its first byte or, for
  // other distances from the boundary of a word, one to three bytes further. Calls differ in how
  // many.
  void at_both_edges(const bytes &wire, uint32_t byte_swap, const check &look) {
    const auto size = static_cast<uint32_t>(wire.size());
    const guarded_buffer before_page(wire);
    given().decode(before_page.data(), size, byte_swap, look);
    const uint32_t shift = shift_++ % 4;
    guarded_buffer behind_page(size + shift, edge::before);
    std::memcpy(behind_page.data() + shift, wire.data(), size);
    given().decode(behind_page.data() + shift, size, byte_swap, look);
  }

  // The calls of the message's decode, without a text for each: most of a test's time.
  void expect_calls(const outcome &left, uint32_t size, bool given_back) const {
    ASSERT_EQ(left.calls.size(), given_back ? 2U : 1U);
    for (const fake_osal::call &each : left.calls) {
      EXPECT_EQ(each.size, size);
      EXPECT_EQ(each.module, 12U);
      EXPECT_EQ(each.block, left.calls.front().block);
    }
    EXPECT_EQ(left.calls.front().kind, fake_osal::call_kind::cache_alloc);
    EXPECT_EQ(left.calls.front().caller, given().message + "_unpack");
    if (given_back) {
      EXPECT_EQ(left.calls.back().kind, fake_osal::call_kind::free);
      EXPECT_EQ(left.calls.back().caller, given().message + "_free_unpacked");
    }
  }

  void expect_read(const bytes &wire, const std::vector<element> &elements,
                   uint32_t byte_swap = 0) {
    bytes expected;
    for (const element &each : elements) {
      const bytes &record = each.values.record();
      expected.insert(expected.end(), record.begin(), record.end());
    }
    at_both_edges(wire, byte_swap, [&](const outcome &left) {
      ++expectations_;
      EXPECT_TRUE(left.lines.empty());
      EXPECT_EQ(left.f0, given().f0);
      EXPECT_EQ(left.count, elements.size());
      expect_calls(left, static_cast<uint32_t>(expected.size()), false);
      ASSERT_NE(left.array, nullptr);
      if (std::memcmp(left.array, expected.data(), expected.size()) != 0) {
        EXPECT_EQ(bytes(left.array, left.array + expected.size()), expected);
      }
    });
  }

  void expect_read(const std::vector<element> &elements, const message &whole) {
    expect_read(laid_message(whole).wire, elements);
  }

  // What a refusal says in the log.
  struct line {
    std::string format, message;
  };
  void expect_refused(const bytes &wire, size_t elements, const std::optional<line> &said = {}) {
    const auto count = static_cast<uint32_t>(elements);
    at_both_edges(wire, 0, [&](const outcome &left) {
      ++expectations_;
      if (said)
        expect_one_line(left.lines, type().name + "_unpack_non_root", said->format, said->message);
      else
        EXPECT_TRUE(left.lines.empty());
      EXPECT_EQ(left.f0, given().f0);
      EXPECT_EQ(left.count, count);
      EXPECT_EQ(left.array, nullptr);
      expect_calls(left, count * static_cast<uint32_t>(type().size), true);
    });
  }

  static line out_of_range(const char *format, const char *what, uint32_t value, uint32_t low,
                           uint32_t high) {
    return {format, std::string("[VARKO]:") + what + "(" + std::to_string(value) +
                        ") is out of range(" + std::to_string(low) + " - " + std::to_string(high) +
                        ")"};
  }
  static line table_line(uint32_t table, uint32_t size) {
    return out_of_range(log_format::table, "Table offset", table, 4, size);
  }
  static line vtable_line(uint32_t table, uint32_t size) {
    return out_of_range(log_format::vtable, "Vtable offset", table, 4, size - 4);
  }
  static line length_line(uint32_t length, uint32_t vtable, uint32_t size) {
    return out_of_range(log_format::vtable_length, "Vtable Len", length, 0, size - vtable);
  }

  // A vector on its way to a test: as the writer would lay it.
  struct scene {
    vector in;
    uint32_t k = 0; // the element that is to deviate
    element &it() { return in.elements[k]; }
    const element &it() const { return in.elements[k]; }
    uint32_t next() const { return (k + 1) % static_cast<uint32_t>(in.elements.size()); }
    // Where they lie: element k after all the others, or before them.
    void lay_last() { in.order = others(), in.order.push_back(k); }
    void lay_first() { in.order = others(), in.order.insert(in.order.begin(), k); }

  private:
    std::vector<uint32_t> others() const {
      std::vector<uint32_t> list;
      for (uint32_t i = 0; i < in.elements.size(); ++i)
        if (i != k)
          list.push_back(i);
      return list;
    }
  };

  // What each element of five holds: all scalars, every other one, each others than the one before.
  enum class fill { dense, alternating, changing };
  static uint32_t mask_of(fill how, uint32_t k) {
    constexpr uint32_t changing[] = {0xFFFF7, 0x2, 0xAAAAA, 0x5555B, 0x0F0F2};
    return how == fill::dense ? every_scalar : how == fill::alternating ? 0xAAAAA : changing[k];
  }

  scene scene_of(uint32_t count, uint32_t k, fill how) const {
    scene made{{given().slot, &type(), {}}, k};
    for (uint32_t i = 0; i < count; ++i)
      made.in.elements.push_back(compact(type(), filled(type(), i, mask_of(how, i))));
    return made;
  }

  // Each type of element; those with arrays only, where the test is about arrays.
  template <class Test>
  void for_each_type(Test test) {
    for (const vector_case &each : all_cases()) {
      if (needs_arrays_ && each.type.arrays().empty())
        continue;
      SCOPED_TRACE(each.type.name);
      given_ = &each;
      const size_t before = expectations_;
      test();
      EXPECT_NE(expectations_, before) << "nothing was tested";
    }
  }

  // Each element of five, in one fill or another, and the only one of one.
  template <class Test>
  void for_each_scene(Test test, uint32_t smallest = 1) {
    for_each_type([&] {
      if (smallest <= 1)
        try_scene(test, 1, 0, fill::dense);
      for (uint32_t k = 0; k < 5; ++k)
        try_scene(test, 5, k, static_cast<fill>(k % 3));
    });
  }

  // Fewer of them, for tests that take each of them many times: three elements of five, and
  // one of one.
  template <class Test>
  void for_some_scenes(Test test) {
    for_each_type([&] {
      try_scene(test, 1, 0, fill::dense);
      try_scene(test, 5, 0, fill::changing);
      try_scene(test, 5, 2, fill::dense);
      try_scene(test, 5, 4, fill::alternating);
    });
  }

  template <class Test>
  void try_scene(Test test, uint32_t count, uint32_t k, fill how) {
    SCOPED_TRACE("element " + std::to_string(k) + " of " + std::to_string(count) + ", fill " +
                 std::to_string(static_cast<int>(how)));
    test(scene_of(count, k, how));
  }

  // Expects every element to be read although one of them deviates.
  template <class Deviate>
  void expect_read_although(Deviate deviate, uint32_t smallest = 1) {
    for_each_scene(
        [&](scene made) {
          deviate(made);
          expect_read(made.in.elements, message_of(made.in));
        },
        smallest);
  }

  // Of a row of things to try: each with the only element of one, every third with each of five,
  // with another first one for the next. All are tried, and every element, in a third of the time.
  static uint32_t first_of(const scene &made) { return made.k % 3; }
  static uint32_t step_of(const scene &made) { return made.in.elements.size() == 1 ? 1 : 3; }
  static std::vector<uint32_t> turns(const scene &made, const std::vector<uint32_t> &slots) {
    std::vector<uint32_t> list;
    for (size_t i = first_of(made); i < slots.size(); i += step_of(made))
      list.push_back(slots[i]);
    return list;
  }

  // The slots of the scalars that an element has.
  static std::vector<uint32_t> present(const element &one) {
    std::vector<uint32_t> list;
    for (const item &each : one.items)
      if (each.kind == piece::scalar)
        list.push_back(each.slot);
    return list;
  }

  // Five elements with these scalars, all but the first and the last with their vtables at that
  // place. Of the third one's vtable the bytes from `from` up to `to` are zero.
  void try_zeroed_stretch(vtable_place place, uint32_t from, uint32_t to, uint32_t mask) {
    SCOPED_TRACE("bytes " + std::to_string(from) + " to " + std::to_string(to) + ", scalars " +
                 std::to_string(mask));
    scene made = scene_of(5, 2, fill::dense);
    for (uint32_t i = 0; i < 5; ++i) {
      made.in.elements[i] = compact(type(), filled(type(), i, mask));
      if (i != 0 && i != 4)
        made.in.elements[i].place = place;
    }
    message whole = message_of(made.in);
    whole.tail.resize(64); // so that nothing is too close to the end to be read at once
    laid_message laid(whole);
    for (uint32_t at = from; at < to; at += 2)
      laid.set_u16(laid.at[0][2].vtable + at, 0);
    for (uint32_t slot = 0; slot < type().slots(); ++slot)
      if (from == 0 || (4 + 2 * slot >= from && 4 + 2 * slot < to)) // without a size none is left
        made.it().values.clear(slot);
    expect_read(laid.wire, made.in.elements);
  }

  bool needs_arrays_ = false;

private:
  const vector_case *given_ = &all_cases().front();
  uint32_t shift_ = 0;
  size_t expectations_ = 0;
};

class CompactArrays : public CompactRun {
protected:
  CompactArrays() { needs_arrays_ = true; }

  // Expects every element to be read although one array of one element deviates.
  template <class Deviate>
  void expect_read_although_one(Deviate deviate, uint32_t smallest = 1) {
    for_each_scene(
        [&](const scene &sound) {
          for (const uint32_t slot : turns(sound, type().arrays())) {
            scene made = sound;
            deviate(made, slot);
            expect_read(made.in.elements, message_of(made.in));
          }
        },
        smallest);
  }
};

// ---- nothing deviates

TEST_F(CompactRun, IsReadAsItWasWritten) {
  expect_read_although([](scene &) {});
}

TEST_F(CompactRun, IsReadAtAnyDistanceFromTheOffsetWords) {
  for_some_scenes([this](const scene &made) {
    message whole = message_of(made.in);
    for (whole.lead = 1; whole.lead < 9; ++whole.lead)
      expect_read(laid_message(whole).wire, made.in.elements);
  });
}

TEST_F(CompactRun, IsReadWithBytesBetweenItsElements) {
  for (const uint32_t between : {1U, 2U, 4U, 7U})
    expect_read_although([between](scene &made) {
      made.it().items.push_back({piece::gap, between});
    });
}

TEST_F(CompactRun, WithBytesBehindItIsRead) {
  for_each_scene([this](const scene &made) {
    message whole = message_of(made.in);
    for (const uint32_t size : {1U, 3U, 15U, 64U}) {
      whole.tail.assign(size, 0xFF);
      expect_read(laid_message(whole).wire, made.in.elements);
    }
  });
}

// ---- the vtable

TEST_F(CompactRun, GoesOnBehindAVtableThatLiesApartFromItsTable) {
  for (const uint32_t apart : {1U, 2U, 4U, 38U})
    expect_read_although([apart](scene &made) { made.it().apart = apart; });
}

TEST_F(CompactRun, GoesOnBehindAVtableAheadOfAllElements) {
  expect_read_although([](scene &made) { made.it().place = vtable_place::ahead; });
}

TEST_F(CompactRun, GoesOnBehindAVtableBehindItsTable) {
  expect_read_although([](scene &made) { made.it().place = vtable_place::behind; });
}

TEST_F(CompactRun, GoesOnBehindAVtableBorrowedFromTheElementBefore) {
  expect_read_although(
      [this](scene &made) {
        made.it().lender = made.k == 0 ? 1 : made.k - 1;
        // What shares a vtable has the same fields.
        fields values = filled(type(), 77, every_scalar);
        const fields &lent = made.in.elements[made.it().lender].values;
        for (uint32_t slot = 0; slot < type().slots(); ++slot)
          if (!lent.has(slot))
            values.clear(slot);
        made.it().items = made.in.elements[made.it().lender].items;
        made.it().values = values;
        made.it().place = vtable_place::borrowed;
      },
      2);
}

TEST_F(CompactRun, GoesOnBehindTheLongerVtableOfANewerPeer) {
  for (const uint32_t more : {1U, 2U, 7U})
    expect_read_although([more](scene &made) { made.it().more_slots = more; });
}

TEST_F(CompactRun, GoesOnBehindTheShorterVtableOfAnOlderPeer) {
  for_some_scenes([this](const scene &sound) {
    for (uint32_t less = 1; less <= type().slots(); ++less) {
      scene made = sound;
      fields values = made.it().values;
      for (uint32_t slot = type().slots() - less; slot < type().slots(); ++slot)
        values.clear(slot);
      made.it() = compact(type(), values);
      made.it().less_slots = less;
      expect_read(made.in.elements, message_of(made.in));
    }
  });
}

// The vtable lies as ever, and so does the table; but the length says that some slots are none of
// it, or that bytes of the table are. Nobody asks for an even length.
TEST_F(CompactRun, LosesTheSlotsThatAnElementsVtableDoesNotCount) {
  for_some_scenes([this](const scene &sound) {
    for (uint32_t stated = first_of(sound); stated <= type().vtable_size() + 4;
         stated += step_of(sound)) {
      scene made = sound;
      made.it().stated_size = stated;
      const message whole = message_of(made.in);
      const laid_message laid(whole);
      for (uint32_t slot = 0; slot < type().slots(); ++slot)
        if (stated < 6 + 2 * slot)
          made.it().values.clear(slot);
      expect_read(laid.wire, made.in.elements);
    }
  });
}

// A vtable that has not been written: its length is zero, too. It is like any other of no slots,
// also to a reader that has seen none before it.
TEST_F(CompactRun, GoesOnBehindAVtableThatIsAllZeros) {
  expect_read_although([this](scene &made) {
    made.it().items.clear();
    made.it().items.push_back({piece::gap, 256}); // what must not be taken for fields
    made.it().values = fields(type());
    made.it().stated_size = 0;
    made.it().stated_table_size = 0;
  });
}

// Behind an element, ours or one that lies otherwise, comes one whose vtable is the same but for a
// stretch of zeros. A reader that has kept only a part of the vtable before, or nothing, would take
// the two for the same and read fields that are not there.
TEST_F(CompactRun, LosesTheSlotsOfAZeroedStretchOfAVtable) {
  for_each_type([&] {
    const uint32_t size = type().vtable_size();
    std::set<std::pair<uint32_t, uint32_t>> stretches{{0, size}};
    for (uint32_t from = 0; from < size; from += 16)
      stretches.insert({from, std::min(from + 16, size)});
    if (size > 16)
      stretches.insert({size - 16, size});
    for (const auto &[from, to] : stretches)
      for (uint32_t lacking = 0; lacking <= type().scalars().size(); ++lacking)
        for (const vtable_place place : {vtable_place::before, vtable_place::behind})
          try_zeroed_stretch(place, from, to, ~((1U << lacking) - 1));
  });
}

TEST_F(CompactRun, TakesNoNoticeOfATablesStatedSize) {
  for (const uint32_t stated : {0U, 5U, 0xFFFFU})
    expect_read_although([stated](scene &made) { made.it().stated_table_size = stated; });
}

// ---- scalars

TEST_F(CompactRun, GoesOnBehindScalarsInReverseOrder) {
  expect_read_although([](scene &made) {
    std::vector<item> &items = made.it().items;
    std::reverse(items.begin(), items.begin() + static_cast<ptrdiff_t>(present(made.it()).size()));
  });
}

TEST_F(CompactRun, GoesOnBehindAnyTwoScalarsThatChangedPlaces) {
  for_each_scene([this](const scene &sound) {
    const size_t scalars = present(sound.it()).size();
    for (size_t i = 0; i + 1 < scalars; ++i) {
      scene made = sound;
      std::swap(made.it().items[i], made.it().items[i + 1]);
      expect_read(made.in.elements, message_of(made.in));
    }
  });
}

TEST_F(CompactRun, GoesOnBehindAGapBeforeAnyScalarOrWordOrArray) {
  for_some_scenes([this](const scene &sound) {
    const size_t items = sound.it().items.size();
    for (size_t i = 0; i < items; ++i) {
      scene made = sound;
      made.it().insert(i, {piece::gap, i % 3 == 0 ? 4U : 1U});
      expect_read(made.in.elements, message_of(made.in));
    }
  });
}

TEST_F(CompactRun, GoesOnBehindAScalarThatIsThereThoughZero) {
  for_each_scene([this](const scene &sound) {
    for (const uint32_t slot : turns(sound, type().scalars())) {
      scene made = sound;
      fields values = made.it().values;
      values.set_zero(slot);
      made.it() = compact(type(), values);
      expect_read(made.in.elements, message_of(made.in));
    }
  });
}

// Its bytes are there; only the vtable no longer says so.
TEST_F(CompactRun, GoesOnBehindAScalarWhoseEntryIsZero) {
  for_each_scene([this](const scene &sound) {
    for (const uint32_t slot : turns(sound, present(sound.it()))) {
      scene made = sound;
      const message whole = message_of(made.in);
      laid_message laid(whole);
      laid.set_entry(made.k, slot, 0);
      made.it().values.clear(slot);
      expect_read(laid.wire, made.in.elements);
    }
  });
}

// An entry that says what the writer would say, were the scalar there: the bytes are those of
// whatever lies there instead.
TEST_F(CompactRun, GoesOnBehindAnEntryForAScalarWhoseBytesAreTheNextOnes) {
  for_each_scene([this](const scene &sound) {
    for (const uint32_t slot : type().scalars()) {
      const element &one = sound.it();
      if (one.values.has(slot))
        continue;
      uint32_t entry = 4; // where it would lie
      for (const uint32_t before : present(one))
        if (before < slot)
          entry += type().members[before].size();
      scene made = sound;
      message whole = message_of(made.in);
      whole.tail.assign(4, 0x5C); // whatever element it is, there are bytes
      laid_message laid(whole);
      laid.set_entry(made.k, slot, entry);
      made.it().values.set(slot, laid.wire.data() + laid.at[0][made.k].table + entry);
      expect_read(laid.wire, made.in.elements);
    }
  });
}

TEST_F(CompactRun, GoesOnBehindAnEntryThatRefersToAScalarOfAnotherElement) {
  expect_read_although(
      [this](scene &made) {
        made.lay_first(); // entries reach forward only
        const uint32_t lent = present(made.in.elements[made.next()]).front();
        const fields &lender = made.in.elements[made.next()].values;
        for (const uint32_t slot : present(made.it()))
          if (type().members[slot].size() <= type().members[lent].size()) {
            made.it().remove(piece::scalar, slot);
            made.it().scalar_lent = {slot, made.next(), lent};
            made.it().values.set(slot, lender.at(lent));
            return;
          }
        FAIL() << "no scalar to replace";
      },
      2);
}

TEST_F(CompactRun, GoesOnBehindTwoEntriesThatReferToOneScalar) {
  for_each_scene([this](const scene &sound) {
    const std::vector<uint32_t> scalars = present(sound.it());
    for (const uint32_t slot : turns(sound, type().scalars())) {
      const uint32_t lent = scalars.front();
      if (slot == lent || type().members[slot].size() > type().members[lent].size())
        continue;
      scene made = sound;
      const message whole = message_of(made.in);
      laid_message laid(whole);
      laid.set_entry(made.k, slot, laid.at[0][made.k].field[lent] - laid.at[0][made.k].table);
      made.it().values.set(slot, made.it().values.at(lent));
      expect_read(laid.wire, made.in.elements);
    }
  });
}

TEST_F(CompactRun, ReadsAScalarFromTheLastBytesOfTheBuffer) {
  const bytes last = {0x91, 0x82, 0x73, 0x64};
  for_each_scene([this, &last](const scene &sound) {
    for (const uint32_t slot : turns(sound, type().scalars())) {
      scene made = sound;
      message whole = message_of(made.in);
      whole.tail = last;
      laid_message laid(whole);
      const uint32_t width = type().members[slot].size();
      laid.set_entry(made.k, slot, laid.size() - width - laid.at[0][made.k].table);
      made.it().values.set(slot, &*(last.end() - width));
      expect_read(laid.wire, made.in.elements);
    }
  });
}

// ---- arrays

TEST_F(CompactArrays, GoOnBehindAnOffsetWordBeforeTheScalars) {
  expect_read_although_one([&](scene &made, uint32_t slot) {
    made.it().remove(piece::word, slot);
    made.it().insert(0, {piece::word, slot});
  });
}

TEST_F(CompactArrays, GoOnBehindOffsetWordsInReverseOrder) {
  expect_read_although([this](scene &made) {
    const auto first = made.it().items.begin() + static_cast<ptrdiff_t>(present(made.it()).size());
    std::reverse(first, first + static_cast<ptrdiff_t>(type().arrays().size()));
  });
}

TEST_F(CompactArrays, GoOnBehindBodiesInReverseOrder) {
  expect_read_although([this](scene &made) {
    const auto end = made.it().items.end();
    std::reverse(end - static_cast<ptrdiff_t>(type().arrays().size()), end);
  });
}

TEST_F(CompactArrays, GoOnBehindABodyBeforeTheScalarsWhenItsWordLiesBeforeIt) {
  expect_read_although_one([&](scene &made, uint32_t slot) {
    made.it().remove(piece::word, slot);
    made.it().remove(piece::body, slot);
    made.it().insert(0, {piece::word, slot});
    made.it().insert(1, {piece::body, slot});
  });
}

TEST_F(CompactArrays, GoOnBehindABodyBehindAllElements) {
  expect_read_although_one([&](scene &made, uint32_t slot) {
    made.it().remove(piece::body, slot);
    made.it().body_behind = slot;
  });
}

TEST_F(CompactArrays, GoOnBehindABodyThatIsAnotherElements) {
  expect_read_although_one(
      [&](scene &made, uint32_t slot) {
        made.lay_first(); // offset words reach forward only
        made.it().remove(piece::body, slot);
        made.it().body_lent = slot;
        made.it().lender = made.next();
        made.it().values.set(slot, made.in.elements[made.next()].values.at(slot));
      },
      2);
}

// The body lies where it always lies; it is not the one that the word refers to.
TEST_F(CompactArrays, GoOnBehindABodyThatNobodyRefersTo) {
  expect_read_although_one(
      [&](scene &made, uint32_t slot) {
        made.lay_first();
        made.it().body_lent = slot;
        made.it().lender = made.next();
        made.it().values.set(slot, made.in.elements[made.next()].values.at(slot));
        made.it().items.push_back({piece::gap, 1});
      },
      2);
}

TEST_F(CompactArrays, GoOnBehindOneThatIsAbsent) {
  expect_read_although_one([&](scene &made, uint32_t slot) {
    fields values = made.it().values;
    values.clear(slot);
    made.it() = compact(type(), values);
  });
}

TEST_F(CompactArrays, GoOnBehindOneWhoseEntryIsZero) {
  for_each_scene([this](const scene &sound) {
    for (const uint32_t slot : turns(sound, type().arrays())) {
      scene made = sound;
      const message whole = message_of(made.in);
      laid_message laid(whole);
      laid.set_entry(made.k, slot, 0);
      made.it().values.clear(slot);
      expect_read(laid.wire, made.in.elements);
    }
  });
}

// ---- elements and their offset words

TEST_F(CompactRun, IsReadInWhateverOrderItsElementsLie) {
  const std::vector<std::vector<uint32_t>> orders = {
      {4, 3, 2, 1, 0}, {1, 0, 2, 3, 4}, {0, 1, 2, 4, 3}, {2, 0, 4, 1, 3}, {4, 0, 1, 2, 3}};
  for (const std::vector<uint32_t> &order : orders)
    expect_read_although([&order](scene &made) { made.in.order = order; }, 5);
}

TEST_F(CompactRun, GoesOnBehindAnElementThatIsTheSameTableAsAnother) {
  expect_read_although(
      [](scene &made) {
        made.it() = made.in.elements[made.next()];
        made.it().same_table_as = made.next();
      },
      2);
}

TEST_F(CompactRun, MayBeOneTableForAllElements) {
  for_each_type([this] {
    vector in{given().slot, &type(), {}};
    for (uint32_t k = 0; k < 6; ++k) {
      in.elements.push_back(compact(type(), filled(type(), 3, every_scalar)));
      if (k != 2)
        in.elements.back().same_table_as = 2;
    }
    expect_read(in.elements, message_of(in));
  });
}

TEST_F(CompactRun, GoesOnBehindAnElementWithoutAnyField) {
  expect_read_although([this](scene &made) { made.it() = compact(type(), fields(type())); });
}

TEST_F(CompactRun, MayEndWithATableInTheLastFourBytes) {
  for_each_scene([this](const scene &sound) {
    scene made = sound;
    made.it() = compact(type(), fields(type()));
    made.lay_last();
    const message whole = message_of(made.in);
    const laid_message laid(whole);
    ASSERT_EQ(laid.at[0][made.k].table, laid.size() - 4);
    expect_read(laid.wire, made.in.elements);
  });
}

// A root's vtable is one of an older peer to an element: two slots and no more. So the table may
// lie as near to the start as it can.
TEST_F(CompactRun, GoesOnBehindATableWhoseVtableIsTheRoots) {
  for_each_scene([this](const scene &sound) {
    scene made = sound;
    made.it() = compact(type(), fields(type()));
    const message whole = message_of(made.in);
    laid_message laid(whole);
    const uint32_t table = laid.at[0][made.k].table;
    laid.set_u32(table, table - 4);
    // Whatever the root's entries say holds from this table on, so none may say anything that the
    // element reads.
    laid.set_u16(4, 4);
    // An element without fields, then; but the root needs its own: a copy at the end.
    const uint32_t root_vtable = 4 + 2 * given().root_slots;
    const uint32_t root = 4 + root_vtable, copy = laid.size();
    laid.fill(root_vtable);
    for (uint32_t i = 0; i < root_vtable; i += 2)
      laid.set_u16(copy + i, laid.u16_at(4 + i));
    laid.set_u16(copy, root_vtable);
    laid.set_u32(root, root - copy);
    expect_read(laid.wire, made.in.elements);
  });
}

// ---- what is refused, whichever element it is

TEST_F(CompactArrays, AreRefusedForAnyOtherCount) {
  for_some_scenes([this](const scene &made) {
    const message whole = message_of(made.in);
    laid_message laid(whole);
    for (const uint32_t slot : type().arrays()) {
      const uint32_t right = type().members[slot].count;
      for (const uint32_t count : {0U, right - 1, right + 1, 2 * right, right + 256,
                                   right | 0x40000000, right | 0x80000000, 0xFFFFFFFFU}) {
        laid.set_u32(laid.at[0][made.k].body[slot], count);
        expect_refused(laid.wire, made.in.elements.size());
      }
      laid.set_u32(laid.at[0][made.k].body[slot], right);
    }
  });
}

TEST_F(CompactArrays, AreRefusedWhenABodyEndsBehindTheBuffer) {
  for_each_scene([this](const scene &sound) {
    for (const uint32_t slot : turns(sound, type().arrays())) {
      scene made = sound;
      made.it().remove(piece::body, slot);
      made.it().body_behind = slot;
      const message whole = message_of(made.in);
      const laid_message laid(whole);
      for (const uint32_t missing : {1U, 2U, type().members[slot].size() + 3})
        expect_refused(bytes(laid.wire.begin(), laid.wire.end() - missing),
                       made.in.elements.size());
    }
  });
}

// The distance to a sound body, made to wrap: forward is the only way.
TEST_F(CompactArrays, AreRefusedWhenAnOffsetWordRefersBackwards) {
  for_each_scene([this](const scene &made) {
    const message whole = message_of(made.in);
    laid_message laid(whole);
    const laid_element &it = laid.at[0][made.k];
    for (const uint32_t slot : turns(made, type().arrays())) {
      for (const uint32_t target : {it.word, it.table, it.field[slot] - 1}) {
        laid.refer(it.field[slot], target);
        expect_refused(laid.wire, made.in.elements.size());
      }
      laid.refer(it.field[slot], it.body[slot]);
    }
  });
}

TEST_F(CompactArrays, AreRefusedWhenAnOffsetWordReachesTheEnd) {
  for_each_scene([this](const scene &made) {
    const message whole = message_of(made.in);
    laid_message laid(whole);
    const laid_element &it = laid.at[0][made.k];
    for (const uint32_t slot : turns(made, type().arrays())) {
      for (const uint32_t target : {laid.size() - 3, laid.size(), laid.size() + 1, 0x7FFFFFFFU}) {
        laid.refer(it.field[slot], target);
        expect_refused(laid.wire, made.in.elements.size());
      }
      laid.refer(it.field[slot], it.body[slot]);
    }
  });
}

TEST_F(CompactArrays, AreRefusedWhenTheirOffsetWordIsNotWhollyThere) {
  for_each_scene([this](const scene &made) {
    const message whole = message_of(made.in);
    laid_message laid(whole);
    for (const uint32_t slot : turns(made, type().arrays())) {
      for (const uint32_t missing : {1U, 3U, 4U}) {
        laid.set_entry(made.k, slot, laid.size() + missing - 4 - laid.at[0][made.k].table);
        expect_refused(laid.wire, made.in.elements.size());
      }
      laid.restore_entry(made.k, slot);
    }
  });
}

TEST_F(CompactRun, IsRefusedWhenAScalarEndsOneByteBehindTheBuffer) {
  for_each_scene([this](const scene &made) {
    const message whole = message_of(made.in);
    laid_message laid(whole);
    for (const uint32_t slot : turns(made, type().scalars())) {
      const uint32_t width = type().members[slot].size();
      for (const uint32_t missing : {1U, width}) {
        laid.set_entry(made.k, slot, laid.size() + missing - width - laid.at[0][made.k].table);
        expect_refused(laid.wire, made.in.elements.size());
      }
      laid.restore_entry(made.k, slot);
    }
  });
}

TEST_F(CompactRun, IsRefusedForAnEntryThatIsFarTooLarge) {
  for_some_scenes([this](const scene &made) {
    const message whole = message_of(made.in);
    laid_message laid(whole);
    for (uint32_t slot = first_of(made); slot < type().slots(); slot += step_of(made)) {
      for (const uint32_t entry : {0x7FFFU, 0x8000U, 0xFFFFU}) {
        laid.set_entry(made.k, slot, entry);
        expect_refused(laid.wire, made.in.elements.size());
      }
      laid.restore_entry(made.k, slot);
    }
  });
}

// Wherever an element is cut, its last field is no longer there, and so neither are the others.
TEST_F(CompactRun, IsRefusedWhereverItsLastTableIsCut) {
  for_some_scenes([this](const scene &sound) {
    scene made = sound;
    made.lay_last();
    const message whole = message_of(made.in);
    const laid_message laid(whole);
    const auto count = made.in.elements.size();
    for (uint32_t size = laid.at[0][made.k].table + 4 + first_of(made); size < laid.size();
         size += step_of(made))
      expect_refused(bytes(laid.wire.begin(), laid.wire.begin() + size), count);
  });
}

TEST_F(CompactRun, IsRefusedWhenAVtableEndsOneByteBehindTheBuffer) {
  for_each_scene([this](const scene &sound) {
    scene made = sound;
    made.it().place = vtable_place::behind;
    made.lay_last();
    const message whole = message_of(made.in);
    laid_message laid(whole);
    laid.resize(laid.size() - 1);
    expect_refused(laid.wire, made.in.elements.size(),
                   length_line(type().vtable_size(), laid.at[0][made.k].vtable, laid.size()));
  });
}

TEST_F(CompactRun, IsRefusedWhenAVtableSaysThatItEndsBehindTheBuffer) {
  for_each_scene([this](const scene &made) {
    const message whole = message_of(made.in);
    laid_message laid(whole);
    const uint32_t vtable = laid.at[0][made.k].vtable;
    for (const uint32_t length : {laid.size() - vtable + 1, 0x8000U, 0xFFFFU}) {
      laid.set_u16(vtable, length);
      expect_refused(laid.wire, made.in.elements.size(), length_line(length, vtable, laid.size()));
    }
  });
}

TEST_F(CompactRun, IsRefusedWhenATableLiesBehindTheLastFourBytes) {
  for_each_scene([this](const scene &made) {
    const message whole = message_of(made.in);
    laid_message laid(whole);
    for (const uint32_t table : {laid.size() - 3, laid.size(), 0x7FFFFFFFU, 0xFFFFFFFFU}) {
      laid.refer(laid.at[0][made.k].word, table);
      expect_refused(laid.wire, made.in.elements.size(), table_line(table, laid.size()));
    }
  });
}

// A sound table may lie where the sum would end up: the sum is refused for wrapping.
TEST_F(CompactRun, IsRefusedWhenAnElementsOffsetWraps) {
  for_each_scene([this](const scene &made) {
    const message whole = message_of(made.in);
    laid_message laid(whole);
    const uint32_t word = laid.at[0][made.k].word;
    for (const uint32_t offset : {0xFFFFFFF0U, 0xFFFFFFFFU, 0U - word, 4 - word}) {
      laid.set_u32(word, offset);
      expect_refused(laid.wire, made.in.elements.size());
    }
  });
}

TEST_F(CompactRun, IsRefusedWhenAVtableLiesInTheRootOffsetOrOutside) {
  for_each_scene([this](const scene &made) {
    const message whole = message_of(made.in);
    laid_message laid(whole);
    const uint32_t table = laid.at[0][made.k].table;
    for (const uint32_t vtable : {3U, 0U, 0x80000000U, laid.size() - 3, laid.size() + 1}) {
      laid.set_u32(table, table - vtable);
      expect_refused(laid.wire, made.in.elements.size(), vtable_line(table, laid.size()));
    }
  });
}

// ---- fills

TEST_F(CompactRun, OfFortyElementsIsReadHoweverTheirScalarsChange) {
  constexpr uint32_t a = 0x55555555, b = 0x33333333, c = every_scalar;
  uint32_t state = 12345;
  const auto random = [&state] { return state = state * 1664525 + 1013904223; };
  const std::vector<std::function<uint32_t(uint32_t)>> sequences = {
      [](uint32_t) { return every_scalar; },
      [](uint32_t) { return no_scalar; },
      [](uint32_t k) { return k % 2 == 0 ? every_scalar : no_scalar; },
      [=](uint32_t k) { return k % 3 == 0   ? a
                               : k % 3 == 1 ? b
                                            : c; },
      [=](uint32_t k) { return k / 2 % 2 == 0 ? a : b; },
      [=](uint32_t k) { return k == 20 ? b : a; }, // away and back
      [=](uint32_t k) { return k == 39 ? no_scalar : c; },
      [](uint32_t k) { return 1U << k % 20; },           // one scalar, each time another
      [](uint32_t k) { return ~(1U << k % 20); },        // all but one
      [](uint32_t k) { return (1U << k % 20) - 1; },     // the first ones
      [](uint32_t k) { return every_scalar << k % 20; }, // the last ones
      [&random](uint32_t) { return random() >> 8; },
      [&random](uint32_t) { return random() >> 8; },
  };
  uint32_t turn = 0;
  for_each_type([&] {
    for (const auto &mask : sequences) {
      SCOPED_TRACE("sequence " + std::to_string(&mask - sequences.data()));
      vector in{given().slot, &type(), {}};
      for (uint32_t k = 0; k < 40; ++k)
        in.elements.push_back(compact(type(), filled(type(), k, mask(k))));
      message whole = message_of(in);
      expect_read(in.elements, whole);
      // The other orders of bytes take turns with every third sequence.
      whole.byte_swap = turn % 3 == 0 ? 1 + turn / 3 % 2 : 0;
      if (whole.byte_swap != 0)
        expect_read(laid_message(whole).wire, in.elements, whole.byte_swap);
      ++turn;
    }
  });
}

TEST_F(CompactRun, OfFortyElementsMayBreakMoreThanOnce) {
  for_each_type([this] {
    vector in{given().slot, &type(), {}};
    for (uint32_t k = 0; k < 40; ++k) {
      in.elements.push_back(compact(type(), filled(type(), k, k % 5 < 2 ? 0x2AAAA : every_scalar)));
      element &it = in.elements.back();
      if (k % 7 == 3)
        it.apart = 1;
      if (k % 7 == 5)
        it.place = vtable_place::behind;
      if (k % 11 == 8)
        it.more_slots = 2;
      if (k % 11 == 2)
        it.items.insert(it.items.begin(), {piece::gap, 3});
    }
    expect_read(in.elements, message_of(in));
  });
}

// ---- several vectors

using hops = feiBrokerFib6_nhp6UpdateMsg;

class SixRuns : public testing::Test {
protected:
  static constexpr size_t vectors = 6;
  static constexpr uint32_t count = 3;

  SixRuns() {
    for (size_t v = 0; v < vectors; ++v) {
      vector in{static_cast<uint32_t>(2 + v), &types_[v], {}};
      for (uint32_t k = 0; k < count; ++k)
        in.elements.push_back(
            compact(types_[v], filled(types_[v], k, k == 1 ? 0x6 : every_scalar)));
      whole_.vectors.push_back(in);
    }
  }

  // All elements of the vectors, in member order.
  bytes expected() const {
    bytes all;
    for (const vector &in : whole_.vectors)
      for (const element &each : in.elements) {
        const bytes &record = each.values.record();
        all.insert(all.end(), record.begin(), record.end());
      }
    return all;
  }

  static bytes read_by(const decoding<hops> &decoded) {
    bytes all;
    for_each_vector(decoded.record, [&all]<class E>(uint32_t elements, E *array) {
      const auto *first = reinterpret_cast<const uint8_t *>(array);
      if (array != nullptr)
        all.insert(all.end(), first, first + elements * sizeof(E));
    });
    return all;
  }

  const element_type types_[vectors] = {hop_std(),   hop_ext(),     hop_vpn(),
                                        hop_vxlan(), hop_vpn_sid(), hop_te()};
  message whole_{.root_slots = 8, .f0 = f0_value, .vectors = {}};
};

TEST_F(SixRuns, AreReadWhicheverOfThemBreaksWherever) {
  for (size_t v = 0; v < vectors; ++v)
    for (uint32_t k = 0; k < count; ++k) {
      SCOPED_TRACE("vector " + std::to_string(v) + ", element " + std::to_string(k));
      element &it = whole_.vectors[v].elements[k];
      for (const vtable_place place :
           {vtable_place::before, vtable_place::ahead, vtable_place::behind}) {
        it.place = place;
        const decoding<hops> decoded(laid_message(whole_).wire);
        EXPECT_TRUE(decoded.silent());
        EXPECT_EQ(decoded.record.f0, f0_value);
        EXPECT_EQ(read_by(decoded), expected());
      }
      it.place = vtable_place::before;
    }
}

TEST_F(SixRuns, AreGivenBackEachOnceWhicheverElementIsRefused) {
  for (size_t v = 0; v < vectors; ++v)
    for (uint32_t k = 0; k < count; ++k) {
      SCOPED_TRACE("vector " + std::to_string(v) + ", element " + std::to_string(k));
      laid_message laid(whole_);
      laid.set_u32(laid.at[v][k].word, 0xFFFFFFF0);
      texts calls;
      for (size_t i = 0; i <= v; ++i)
        calls.push_back("alloc " + std::to_string(count * types_[i].size));
      for (size_t i = 0; i <= v; ++i)
        calls.push_back("free " + std::to_string(count * types_[i].size));
      const decoding<hops> decoded(laid.wire);
      EXPECT_TRUE(decoded.silent());
      EXPECT_EQ(call_texts<hops>(decoded.calls), calls);
      EXPECT_TRUE(read_by(decoded).empty()); // no pointer is left
    }
}

// ---- tables near the start of the buffer

// As far from its vtable as the writer would have it, with no room for that vtable: it would begin
// in the root offset or before the buffer.
TEST_F(CompactRun, IsRefusedWhenAVtableOfFullSizeWouldBeginBeforeTheFifthByte) {
  uint32_t types = 0;
  for_each_type([&] {
    bool near_enough = false;
    for (uint32_t count = 1; count <= 4; ++count) {
      vector in{given().slot, &type(), {}};
      for (uint32_t k = 0; k < count; ++k)
        in.elements.push_back(compact(type(), filled(type(), k, every_scalar)));
      message whole = message_of(in);
      expect_read(in.elements, whole);
      whole.lead = 64;
      for (uint32_t table = laid_message(whole).at[0].back().word + 4;
           table < 4 + type().vtable_size(); ++table) {
        laid_message laid(whole);
        laid.refer(laid.at[0].back().word, table);
        laid.set_u32(table, type().vtable_size());
        expect_refused(laid.wire, count, vtable_line(table, laid.size()));
        near_enough = true;
      }
    }
    types += near_enough ? 1 : 0;
  });
  EXPECT_EQ(types, 3U); // routes, segment lists, items of an answer: those of the longest vtables
}

// The one vtable begins at byte 4, ends where the element's table begins, is the root's as well,
// and the root's table lies inside it: each word of that table is also two entries of the element.
TEST(RunAtTheVeryStart, ReadsAnElementWhoseVtableBeginsWithTheFifthByte) {
  bytes wire = {
      16,   0,    0,    0, //  0: root offset 16
      32,   0,    0,    0, //  4: vtable of 32 bytes: 14 slots
      0,    0,             //  8: slot 0 absent
      4,    0,             // 10: slot 1 at table + 4: the root's vector, the element's f1
      0,    0,             // 12: slot 2 absent
      0,    0,             // 14: slot 3 absent
      12,   0,    0,    0, // 16: root table, soffset 12; slot 4 at table + 12, slot 5 absent
      4,    0,    0,    0, // 20: uoffset 4; slot 6 at table + 4, slot 7 absent
      1,    0,    0,    0, // 24: count 1; slot 8 at table + 1, slot 9 absent
      8,    0,    0,    0, // 28: uoffset 8: the table at 36; slot 10 at table + 8, slot 11 absent
      0,    0,             // 32: slot 12 absent
      0,    0,             // 34: slot 13 absent
      32,   0,    0,    0, // 36: the element's table, soffset 32
      0xA1, 0xA2, 0xA3, 0xA4, // 40: f1, and f6 in its first half
      0xB1, 0xB2, 0xB3, 0xB4, // 44: f10
      0xC1,                   // 48: f4
  };
  const decoding<feiBrokerFib6_ipv6FwdUpdateMsg> decoded(wire);
  EXPECT_TRUE(decoded.silent());
  EXPECT_EQ(decoded.record.f0, 0U);
  ASSERT_EQ(decoded.record.f1_count, 1U);
  feiBrokerFib6_ipv6Fwd expected{};
  expected.f1 = 0xA4A3A2A1;
  expected.f4 = 0xC1;
  expected.f6 = 0xA2A1;
  expected.f8 = 0xA1000000; // from the second byte of the soffset on
  expected.f10 = 0xB4B3B2B1;
  ASSERT_NE(decoded.record.f1, nullptr);
  EXPECT_EQ(std::memcmp(decoded.record.f1, &expected, sizeof expected), 0);
}

} // namespace

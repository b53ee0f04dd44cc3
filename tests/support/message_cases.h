// Cases that run once for each of a list of messages: MESSAGE_TEST in the place of TYPED_TEST.
//
// Room: tests. Includes GoogleTest.
//
// GoogleTest's typed tests make a class, a factory and their tables for each message of each case.
// Compiling those took half the time that these tests took to compile; here a message costs a
// function.
#pragma once

#include "transport/operations.h"

#include <gtest/gtest.h>

#include <span>
#include <string>

namespace message_cases {

struct body {
  const char *message;
  void (*run)();
};

// Registers the cases "suite/message.name". For initialisers, hence the result.
bool add(const std::string &suite, const char *name, const char *file, int line,
         std::span<const body> bodies);

template <class Case>
void run() {
  Case().run();
}

template <template <class> class Case, class... M>
bool add(testing::Types<M...>, const std::string &suite, const char *name, const char *file,
         int line) {
  static constexpr body bodies[] = {{mesh_fib6::operations<M>::name, &run<Case<M>>}...};
  return add(suite, name, file, line, bodies);
}

} // namespace message_cases

// The body of one case, a member of SUITE<TypeParam>, which is constructed for it. To be registered
// by message_cases::add<SUITE_CASE>. A macro as the ones of GoogleTest are: the names of suite and
// case are also those of types.
#define MESSAGE_CASE(SUITE, CASE)                                                                  \
  template <class TypeParam>                                                                       \
  struct SUITE##_##CASE : SUITE<TypeParam> {                                                       \
    using TestFixture = SUITE<TypeParam>;                                                          \
    void run();                                                                                    \
  };                                                                                               \
  template <class TypeParam>                                                                       \
  void SUITE##_##CASE<TypeParam>::run()

// Likewise, registered for the types of SUITE_messages.
#define MESSAGE_TEST(SUITE, CASE)                                                                  \
  template <class TypeParam>                                                                       \
  struct SUITE##_##CASE;                                                                           \
  [[maybe_unused]] static const bool SUITE##_##CASE##_added =                                      \
      message_cases::add<SUITE##_##CASE>(SUITE##_messages{}, #SUITE, #CASE, __FILE__, __LINE__);   \
  MESSAGE_CASE(SUITE, CASE)

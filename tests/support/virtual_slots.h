#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <typeinfo>

namespace qbt2::test {

/// The slot of a virtual member function: the first word of the pointer is the offset in the
/// virtual table, plus 1.
template <class Member>
std::size_t slot_of(Member member) {
  std::size_t word = 0;
  std::memcpy(&word, &member, sizeof word);
  return (word - 1) / sizeof(void*);
}

/// Expects that these operations of the class have the slots from `first` on, in this order.
template <class Class, class... Operations>
void expect_slots(std::size_t first, Operations Class::*... operations) {
  for (const std::size_t slot : {slot_of(operations)...}) {
    EXPECT_EQ(slot, first++) << typeid(Class).name();
  }
}

}  // namespace qbt2::test

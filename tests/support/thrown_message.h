#pragma once

#include <gtest/gtest.h>

#include <string>

namespace qbt2::test {

/// what() of the Error that `body` throws. Fails the test if it throws none.
template <typename Error, typename Body>
std::string thrown_message(Body body) {
  try {
    body();
  } catch (const Error& error) {
    return error.what();
  }
  ADD_FAILURE() << "no exception";
  return {};
}

}  // namespace qbt2::test

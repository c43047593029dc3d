#pragma once

#include <stdexcept>

namespace marlune::cli {

/// The call is wrong; the text says what and how to mend it. Exit status 2.
class WrongCall : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The call was right but could not be carried out. Exit status 1.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace marlune::cli

// The one exception of the program: a failure that the user is told about in one sentence.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

namespace zr::popclean {

class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A sentence that ends with what the platform says about an errno value.
inline Failure SystemFailure(const std::string& what, int errorNumber) {
  return Failure(what + ": " + std::strerror(errorNumber));
}

/// A file name as it stands in a sentence.
inline std::string Quoted(const std::string& name) {
  return "'" + name + "'";
}

}  // namespace zr::popclean

// A value, or one sentence that says why there is none.
//
// Whoever asks for a file, an option or a program gets either, and cannot take one for the other.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace kestra {

/// Why something could not be done: one sentence for a person, never empty.
struct Problem {
  std::string words;
};

/// What a function gives back that may fail: return a `T`, or a `Problem`.
template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}
  Result(Problem problem) : problem_(std::move(problem.words)) {}

  explicit operator bool() const { return value_.has_value(); }

  /// The value; only where there is one.
  T& operator*() { return *value_; }
  const T& operator*() const { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }

  /// Why there is no value; empty where there is one.
  [[nodiscard]] const std::string& problem() const { return problem_; }

 private:
  std::optional<T> value_;
  std::string problem_;
};

/// The same of a function without a value: return `{}` where it is done, or a `Problem`.
template <>
class [[nodiscard]] Result<void> {
 public:
  Result() = default;
  Result(Problem problem) : problem_(std::move(problem.words)) {}

  explicit operator bool() const { return problem_.empty(); }
  [[nodiscard]] const std::string& problem() const { return problem_; }

 private:
  std::string problem_;
};

}  // namespace kestra

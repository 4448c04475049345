// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>

namespace vireo::genicam {

/// What the names in a formula stand for: numbers, and expressions that may use other names. Of one name the
/// first counts. The texts must outlive it.
template <typename T>
class FormulaNames {
 public:
  void add(std::string_view name, T value) { entries_.try_emplace(name, Entry{{}, value, false}); }
  void add(std::string_view name, std::string_view expression) {
    entries_.try_emplace(name, Entry{expression, {}, true});
  }
  void set(std::string_view name, T value) { entries_[name] = Entry{{}, value, false}; }

 private:
  template <typename>
  friend class FormulaReader;

  struct Entry {
    std::string_view expression;
    std::optional<T> value;
    bool isOpen = false;  ///< an expression that nobody has asked for
  };

  std::map<std::string_view, Entry> entries_;
  int depth_ = 0;  ///< of what is being read
};

/// The value of a formula in GenICam's language: C's operators with their precedence, = and <> beside == and
/// !=,
/// ** for powers, ?:, decimal and hexadecimal numbers, the standard's functions. With T std::int64_t the
/// arithmetic is that of integers, with double that of floats. Nothing for what is not a formula, for unknown
/// names, division by zero, a result beyond T, or nesting beyond any sense; only the branch that ?: takes has
/// to have a value. Time grows with the length of the texts.
template <typename T>
std::optional<T> evaluate(std::string_view formula, FormulaNames<T>& names);

extern template std::optional<std::int64_t> evaluate(std::string_view, FormulaNames<std::int64_t>&);
extern template std::optional<double> evaluate(std::string_view, FormulaNames<double>&);

}  // namespace vireo::genicam

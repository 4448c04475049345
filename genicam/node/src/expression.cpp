// SPDX-License-Identifier: MIT
#include "expression.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numbers>
#include <type_traits>
#include <utility>

#include "number.h"

namespace vireo::genicam {
namespace {

using Int = std::int64_t;

constexpr int maxDepth = 400;
constexpr int powerLevel = 11;

// Nothing where T cannot hold it.
template <typename T>
std::optional<T> held(double value) {
  constexpr double twoTo63 = 9223372036854775808.0;
  const bool fits = std::is_same_v<T, double> ? std::isfinite(value) : value >= -twoTo63 && value < twoTo63;
  return fits ? std::optional(static_cast<T>(value)) : std::nullopt;
}

template <typename T>
std::optional<T> product(T a, T b) {
  if constexpr (std::is_same_v<T, double>) {
    return held<T>(a * b);
  } else {
    T result{};
    return __builtin_mul_overflow(a, b, &result) ? std::nullopt : std::optional(result);
  }
}

// The difference for `sign` -1.
template <typename T>
std::optional<T> sum(T a, T b, T sign) {
  if constexpr (std::is_same_v<T, double>) {
    return held<T>(a + sign * b);
  } else {
    T result{};
    const bool leaves =
        sign < 0 ? __builtin_sub_overflow(a, b, &result) : __builtin_add_overflow(a, b, &result);
    return leaves ? std::nullopt : std::optional(result);
  }
}

template <typename T>
bool canDivide(T a, T b) {
  return b != 0 && (b != -1 || a != std::numeric_limits<T>::min());
}

std::optional<double> quotient(double a, double b) {
  return b == 0 ? std::nullopt : held<double>(a / b);
}
std::optional<Int> quotient(Int a, Int b) {
  return canDivide(a, b) ? std::optional(a / b) : std::nullopt;
}
std::optional<double> remainder(double a, double b) {
  return b == 0 ? std::nullopt : held<double>(std::fmod(a, b));
}
std::optional<Int> remainder(Int a, Int b) {
  return canDivide(a, b) ? std::optional(a % b) : std::nullopt;
}
std::optional<double> power(double a, double b) {
  return held<double>(std::pow(a, b));
}

std::optional<Int> power(Int base, Int exponent) {
  std::optional<Int> result = exponent < 0 ? std::nullopt : std::optional<Int>(1);
  for (std::optional<Int> square = base; result && exponent != 0; exponent >>= 1) {
    if ((exponent & 1) != 0) result = square ? product(*result, *square) : std::nullopt;
    if (square) square = product(*square, *square);
  }
  return result;
}

// Bits are those of integers in floating formulas too.
template <typename T, typename Operation>
std::optional<T> onBits(T a, T b, const Operation& operation) {
  if constexpr (std::is_same_v<T, Int>) return operation(a, b);
  const std::optional<Int> left = held<Int>(static_cast<double>(a));
  const std::optional<Int> right = held<Int>(static_cast<double>(b));
  if (!left || !right) return std::nullopt;
  const std::optional<Int> result = operation(*left, *right);
  return result ? std::optional(static_cast<T>(*result)) : std::nullopt;
}

constexpr auto bitwiseOr = [](Int a, Int b) { return std::optional(a | b); };
constexpr auto bitwiseXor = [](Int a, Int b) { return std::optional(a ^ b); };
constexpr auto bitwiseAnd = [](Int a, Int b) { return std::optional(a & b); };

bool isShift(Int by) {
  return by >= 0 && by < 64;
}
std::optional<Int> shiftedUp(Int a, Int by) {
  return isShift(by) ? std::optional(static_cast<Int>(static_cast<std::uint64_t>(a) << by)) : std::nullopt;
}
std::optional<Int> shiftedDown(Int a, Int by) {
  return isShift(by) ? std::optional(a >> by) : std::nullopt;
}

// One operation on integers and on floats.
struct Operator {
  template <typename Operation>
  constexpr Operator(std::string_view symbol, int level, Operation)
      : text(symbol),
        precedence(level),
        integers([](Int a, Int b) { return std::optional<Int>(Operation()(a, b)); }),
        floats([](double a, double b) { return std::optional<double>(Operation()(a, b)); }) {}

  template <typename T>
  std::optional<T> operator()(const std::optional<T>& a, const std::optional<T>& b) const {
    if (!a || !b) return std::nullopt;
    if constexpr (std::is_same_v<T, double>)
      return floats(*a, *b);
    else
      return integers(*a, *b);
  }

  std::string_view text;
  int precedence;
  std::optional<Int> (*integers)(Int, Int);
  std::optional<double> (*floats)(double, double);
};

// Longer ones first where one begins another.
const Operator operatorRows[] = {
    {"||", 1, [](auto a, auto b) { return a != 0 || b != 0; }},
    {"&&", 2, [](auto a, auto b) { return a != 0 && b != 0; }},
    {"**", powerLevel, [](auto a, auto b) { return power(a, b); }},
    {"<<", 8, [](auto a, auto b) { return onBits(a, b, shiftedUp); }},
    {">>", 8, [](auto a, auto b) { return onBits(a, b, shiftedDown); }},
    {"<=", 7, [](auto a, auto b) { return a <= b; }},
    {">=", 7, [](auto a, auto b) { return a >= b; }},
    {"<>", 6, [](auto a, auto b) { return a != b; }},
    {"!=", 6, [](auto a, auto b) { return a != b; }},
    {"==", 6, [](auto a, auto b) { return a == b; }},
    {"=", 6, [](auto a, auto b) { return a == b; }},
    {"<", 7, [](auto a, auto b) { return a < b; }},
    {">", 7, [](auto a, auto b) { return a > b; }},
    {"|", 3, [](auto a, auto b) { return onBits(a, b, bitwiseOr); }},
    {"^", 4, [](auto a, auto b) { return onBits(a, b, bitwiseXor); }},
    {"&", 5, [](auto a, auto b) { return onBits(a, b, bitwiseAnd); }},
    {"+", 9, [](auto a, auto b) { return sum(a, b, decltype(a)(1)); }},
    {"-", 9, [](auto a, auto b) { return sum(a, b, decltype(a)(-1)); }},
    {"*", 10, [](auto a, auto b) { return product(a, b); }},
    {"/", 10, [](auto a, auto b) { return quotient(a, b); }},
    {"%", 10, [](auto a, auto b) { return remainder(a, b); }},
};

using Function = double (*)(double);
constexpr std::pair<std::string_view, Function> functionRows[] = {
    {"SGN", [](double x) { return x > 0   ? 1.0
                                  : x < 0 ? -1.0
                                          : 0.0; }},
    {"NEG", [](double x) { return -x; }},
    {"ABS", std::fabs},
    {"EXP", std::exp},
    {"LN", std::log},
    {"LG", std::log10},
    {"SQRT", std::sqrt},
    {"TRUNC", std::trunc},
    {"FLOOR", std::floor},
    {"CEIL", std::ceil},
    {"ROUND", std::round},
    {"SIN", std::sin},
    {"COS", std::cos},
    {"TAN", std::tan},
    {"ASIN", std::asin},
    {"ACOS", std::acos},
    {"ATAN", std::atan},
};

bool isLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

// Reads a formula once from left to right, by descent: a level of precedence, a parenthesis, a sign or a
// branch is a call, and there is a limit to them. An unknown value goes through all operators; a text that
// is not a formula makes an end of the rest.
template <typename T>
class FormulaReader {
 public:
  FormulaReader(std::string_view text, FormulaNames<T>& known) : rest_(text), names_(known) {}

  std::optional<T> whole() {
    const Value value = conditional();
    return isWrong_ || !next().empty() ? std::nullopt : value;
  }

 private:
  using Value = std::optional<T>;

  std::string_view next() {
    const auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (!rest_.empty() && isBlank(rest_.front())) rest_.remove_prefix(1);
    return rest_;
  }

  bool take(char sign) {
    if (!next().starts_with(sign)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  Value wrong() {
    isWrong_ = true;
    rest_ = {};
    return std::nullopt;
  }

  template <typename Read>
  Value deeper(const Read& read) {
    if (names_.depth_ >= maxDepth) return wrong();
    ++names_.depth_;
    const Value value = read();
    --names_.depth_;
    return value;
  }

  Value conditional() {
    return deeper([&]() -> Value {
      const Value condition = binary(0);
      if (!take('?')) return condition;
      const Value first = conditional();
      if (!take(':')) return wrong();
      const Value second = conditional();
      if (!condition) return std::nullopt;
      return *condition != 0 ? first : second;
    });
  }

  const Operator* operatorAhead() {
    if (next().empty()) return nullptr;
    const auto isAhead = [&](const Operator& row) {
      return row.text.front() == rest_.front() && rest_.starts_with(row.text);
    };
    const auto* const found = std::find_if(std::begin(operatorRows), std::end(operatorRows), isAhead);
    return found == std::end(operatorRows) ? nullptr : found;
  }

  // What binds at least so tightly; powers alone are read from the right.
  Value binary(int least) {
    Value left = sign();
    for (const Operator* ahead = operatorAhead(); ahead != nullptr && ahead->precedence >= least;
         ahead = operatorAhead()) {
      rest_.remove_prefix(ahead->text.size());
      const int tighter = ahead->precedence + (ahead->precedence == powerLevel ? 0 : 1);
      left = (*ahead)(left, deeper([&] { return binary(tighter); }));
    }
    return left;
  }

  Value sign() {
    const auto signedBy = [&](const auto& operation) -> Value {
      const Value value = deeper([&] { return sign(); });
      return value ? operation(*value) : Value();
    };
    if (take('+')) return signedBy([](T value) { return Value(value); });
    if (take('-')) return signedBy([](T value) { return sum(T{0}, value, T{-1}); });
    if (take('~')) return signedBy([](T value) { return onBits(value, T{-1}, bitwiseXor); });
    return operand();
  }

  Value operand() {
    if (take('(')) {
      const Value value = conditional();
      return take(')') ? value : wrong();
    }
    const std::string_view text = next();
    if (text.empty()) return wrong();
    if (isDigit(text.front()) || text.front() == '.') return number();
    return isLetter(text.front()) ? named() : wrong();
  }

  Value number() {
    const bool isHex = isHexadecimal(rest_);
    std::size_t size = 1;
    const auto continues = [&](char c) {
      const bool isExponentSign =
          !isHex && (c == '+' || c == '-') && (rest_[size - 1] == 'e' || rest_[size - 1] == 'E');
      return isDigit(c) || isLetter(c) || c == '.' || isExponentSign;
    };
    while (size < rest_.size() && continues(rest_[size])) ++size;
    const std::string_view digits = rest_.substr(0, size);
    rest_.remove_prefix(size);
    if constexpr (std::is_same_v<T, double>) return parseFloat(digits);
    const std::optional<Number> parsed = parseInteger(digits);
    return parsed ? std::optional(static_cast<T>(toInteger(*parsed))) : std::nullopt;
  }

  Value named() {
    const auto isPart = [](char c) { return isLetter(c) || isDigit(c) || c == '.'; };
    const auto end = std::find_if_not(rest_.begin(), rest_.end(), isPart);
    const std::string_view name = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
    rest_.remove_prefix(name.size());
    if (take('(')) return called(name);
    const auto found = names_.entries_.find(name);
    if (found == names_.entries_.end()) {
      if (name == "PI") return held<T>(std::numbers::pi);
      return name == "E" ? held<T>(std::numbers::e) : std::nullopt;
    }
    if (std::exchange(found->second.isOpen, false)) {
      // A circle meets the expression closed and without a value.
      found->second.value = deeper([&] { return FormulaReader(found->second.expression, names_).whole(); });
    }
    return found->second.value;
  }

  Value called(std::string_view name) {
    if (take(')'))
      return name == "PI" ? held<T>(std::numbers::pi) : name == "E" ? held<T>(std::numbers::e) : wrong();
    const Value argument = conditional();
    const Value digits = take(',') ? conditional() : Value(T{0});
    if (!take(')')) return wrong();
    const auto isNamed = [&](const auto& row) { return row.first == name; };
    const auto* const found = std::find_if(std::begin(functionRows), std::end(functionRows), isNamed);
    if (found == std::end(functionRows) || !argument || !digits) return std::nullopt;
    const double scale = std::pow(10.0, static_cast<double>(*digits));  // ROUND alone has a second argument
    return held<T>(found->second(static_cast<double>(*argument) * scale) / scale);
  }

  std::string_view rest_;
  FormulaNames<T>& names_;
  bool isWrong_ = false;
};

template <typename T>
std::optional<T> evaluate(std::string_view formula, FormulaNames<T>& names) {
  return FormulaReader<T>(formula, names).whole();
}

template std::optional<std::int64_t> evaluate(std::string_view, FormulaNames<std::int64_t>&);
template std::optional<double> evaluate(std::string_view, FormulaNames<double>&);

}  // namespace vireo::genicam

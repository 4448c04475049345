// SPDX-License-Identifier: MIT
#include "formulas.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "expression.h"
#include "literals.h"

namespace vireo::genicam {
namespace {

template <typename T>
T as(const Number& number) {
  if constexpr (std::is_same_v<T, double>)
    return toFloat(number);
  else
    return toInteger(number);
}

template <typename T>
std::optional<T> parsed(std::string_view text) {
  if constexpr (std::is_same_v<T, double>) return parseFloat(text);
  const std::optional<Number> number = parseInteger(text);
  return number ? std::optional(as<T>(*number)) : std::nullopt;
}

// What the names in the formulas of a node stand for; nothing unless all its variables are constants. A
// variable's name may ask for more than its value (X.Max): what else there is stays unknown.
template <typename T>
std::optional<FormulaNames<T>> namesOf(const NodeIndex& index, const Links& links, const LinkedNode& node) {
  if (node.isOpenFormula) return std::nullopt;
  FormulaNames<T> names;
  pugi::xml_node child = index.element(node.id, Property::PVariable);
  for (std::size_t i = node.firstVariable; i < node.endOfVariables;
       ++i, child = child.next_sibling(child.name())) {
    const std::optional<Number> number = constantAt(links, links.targets[i]);
    const std::string_view name = index.shown(child.attribute("Name").value());
    const bool isValue = name.find('.') == std::string_view::npos || name.ends_with(".Value");
    if (!number || !isValue) return std::nullopt;
    names.add(name, as<T>(*number));
  }
  child = index.element(node.id, Property::Constant);
  for (; exists(child); child = child.next_sibling(child.name())) {
    const std::optional<T> number = parsed<T>(index.textOf(child));
    if (number) names.add(index.shown(child.attribute("Name").value()), *number);
  }
  child = index.element(node.id, Property::Expression);
  for (; exists(child); child = child.next_sibling(child.name()))
    names.add(index.shown(child.attribute("Name").value()), index.textOf(child));
  return names;
}

template <typename T>
std::optional<Number> valueOf(const NodeIndex& index, const Links& links, const LinkedNode& node) {
  std::optional<FormulaNames<T>> names = namesOf<T>(index, links, node);
  if (!names) return std::nullopt;
  const std::optional<T> value = evaluate(index.text(node.id, Property::Formula), *names);
  return value ? std::optional(Number(*value)) : std::nullopt;
}

// A converter's formula with everything known but the value behind.
template <typename T>
class Conversion {
 public:
  Conversion(const NodeIndex& index, const Links& links, const LinkedNode& node)
      : formula_(index.text(node.id, Property::FormulaFrom)), names_(namesOf<T>(index, links, node)) {}

  std::optional<T> operator()(T behind) const {
    if (!names_) return std::nullopt;
    FormulaNames<T> all = *names_;
    all.set("TO", behind);
    return evaluate(formula_, all);
  }

 private:
  std::string_view formula_;
  std::optional<FormulaNames<T>> names_;
};

template <typename T>
std::optional<Number> convertedAs(const Conversion<T>& conversion, const Number& behind) {
  const std::optional<T> value = conversion(as<T>(behind));
  return value ? std::optional(Number(*value)) : std::nullopt;
}

constexpr std::size_t sampleCount = 7;
using Samples = std::array<double, sampleCount>;

bool isFinite(const Samples& samples) {
  return std::all_of(samples.begin(), samples.end(), [](double sample) { return std::isfinite(sample); });
}

// Whether y is a straight line over x, but for rounding.
bool isLine(const Samples& x, const Samples& y) {
  if (!isFinite(x) || !isFinite(y)) return false;
  const double size = std::max(std::fabs(y.front()), std::fabs(y.back()));
  for (std::size_t i = 1; i + 1 < sampleCount; ++i) {
    const double share = (x[i] / 2 - x.front() / 2) / (x.back() / 2 - x.front() / 2);
    if (std::fabs(y.front() * (1 - share) + y.back() * share - y[i]) > size * 1e-9) return false;
  }
  return true;
}

template <typename Function>
Samples mapped(const Samples& samples, const Function& function) {
  Samples result;
  std::transform(samples.begin(), samples.end(), result.begin(), function);
  return result;
}

// A formula that decides or rounds may be another between any two samples.
bool isSmooth(const NodeIndex& index, const LinkedNode& node) {
  const std::string_view formula = index.text(node.id, Property::FormulaFrom);
  return !index.has(node.id, Property::Expression) &&
         formula.find_first_of("?=<>%&|^~") == std::string_view::npos;
}

// A smooth formula rises or falls all the way where it is a line over the value, its logarithm or its
// reciprocal, or where its own logarithm is one: factors, dB and periods.
bool isMonotonic(const Samples& x, const Samples& y) {
  const auto log = [](double value) { return std::log(value); };
  const auto inverse = [](double value) { return 1 / value; };
  if (isLine(x, y)) return true;
  if (x.front() > 0 && (isLine(mapped(x, log), y) || isLine(mapped(x, inverse), y))) return true;
  return *std::min_element(y.begin(), y.end()) > 0 && isLine(x, mapped(y, log));
}

std::optional<Samples> sampled(const Conversion<double>& conversion, double min, double max, Samples& x) {
  Samples y;
  for (std::size_t i = 0; i < sampleCount; ++i) {
    const double share = static_cast<double>(i * i) / ((sampleCount - 1) * (sampleCount - 1));
    x[i] = min * (1 - share) + max * share;
    const std::optional<double> value = conversion(x[i]);
    if (!value) return std::nullopt;
    y[i] = *value;
  }
  return y;
}

}  // namespace

std::optional<Number> formulaValue(const NodeIndex& index, const Links& links, const LinkedNode& node) {
  if (node.isOpenFormula) return std::nullopt;
  return node.facts->isFloat() ? valueOf<double>(index, links, node)
                               : valueOf<std::int64_t>(index, links, node);
}

std::optional<Number> converted(const NodeIndex& index, const Links& links, const LinkedNode& node,
                                const Number& behind) {
  if (node.isOpenFormula) return std::nullopt;
  if (node.facts->isFloat()) return convertedAs(Conversion<double>(index, links, node), behind);
  return convertedAs(Conversion<std::int64_t>(index, links, node), behind);
}

std::optional<std::pair<Number, Number>> convertedRange(const NodeIndex& index, const Links& links,
                                                        const LinkedNode& node, const Number& min,
                                                        const Number& max) {
  if (node.isOpenFormula || !isSmooth(index, node)) return std::nullopt;
  Samples x;
  const Conversion<double> conversion(index, links, node);
  const std::optional<Samples> y = sampled(conversion, toFloat(min), toFloat(max), x);
  if (!y || !isMonotonic(x, *y)) return std::nullopt;
  const std::optional<Number> first = converted(index, links, node, min);
  const std::optional<Number> last = converted(index, links, node, max);
  if (!first || !last) return std::nullopt;
  return *last < *first ? std::pair(*last, *first) : std::pair(*first, *last);
}

}  // namespace vireo::genicam

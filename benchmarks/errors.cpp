// Error trees as text, results combined.

#include "bench.h"

#include <absl/status/status.h>
#include <fmt/format.h>
#include <qiv/errors.h>
#include <sstream>

namespace {

using Errors = std::vector<std::shared_ptr<Qiv::ObjectError>>;

constexpr int nodeCount = 100;
const std::string message = "cannot open the settings file";

/// The errors that caused error `number`, of those numbered from 1 on. The root is cause of none.
Errors makeCauses(int number) {
  Errors causes;
  for (int cause = 3 * number - 1; cause <= std::min(3 * number + 1, nodeCount); ++cause)
    causes.push_back(Qiv::LogicError::create(message, makeCauses(cause)));
  return causes;
}

void printPlainly(std::ostream& out, const Errors& errors, int level) {
  for (const auto& error : errors) {
    if (out.tellp() > 0)
      out << '\n';
    if (level > 0)
      out << std::string(2 * static_cast<std::size_t>(level) - 2, ' ') << "* ";
    out << error->getMessage();
    printPlainly(out, error->getInnerErrors(), level + 1);
  }
}

/// Does all that ours does: shows groups in place, leaves markers out.
void printWithFmt(fmt::memory_buffer& out, const Errors& errors, int level) {
  constexpr std::string_view bullet = "          * ";
  for (const auto& error : errors) {
    const bool group = dynamic_cast<const Qiv::CombineError*>(error.get());
    if (!group && !dynamic_cast<const Qiv::FunctionError*>(error.get())) {
      if (out.size() > 0)
        out.push_back('\n');
      if (level > 0)
        out.append(bullet.substr(bullet.size() - 2 * static_cast<std::size_t>(level)));
      out.append(std::string_view(error->getMessage()));
    }
    printWithFmt(out, error->getInnerErrors(), level + !group);
  }
}

void addTree() {
  const Errors errors{Qiv::LogicError::create(message, makeCauses(1))};
  bench::Row(
      "error tree of 100 nodes to text", 0.75,
      [=] { return Qiv::ObjectErrorHelper::toDisplayString(errors, 0); },
      [=] {
        std::ostringstream out;
        printPlainly(out, errors, 0);
        return out.str();
      })
      .peer("fmt", [=] {
        fmt::memory_buffer out;
        printWithFmt(out, errors, 0);
        return fmt::to_string(out);
      });
}

/// Every second one is a failure.
template <typename T>
std::vector<T> everySecond(const T& failure, const T& success) {
  std::vector<T> values;
  for (int i = 0; i < 50; ++i)
    values.insert(values.end(), {failure, success});
  return values;
}

void addCombine() {
  const auto results = everySecond<Qiv::Result>(Qiv::LogicError::create(message, nullptr), true);
  const auto statuses = everySecond(absl::UnknownError(message), absl::OkStatus());
  bench::Row("combineResults of 100", 1.15, [=] {
    return Qiv::ResultHelper::combineResults(results);
  }).peer("absl::Status", [=] {
    std::vector<absl::Status> failures;
    for (const absl::Status& status : statuses)
      if (!status.ok())
        failures.push_back(status);
    return failures;
  });
}

} // namespace

void bench::addErrors() {
  addTree();
  addCombine();
}

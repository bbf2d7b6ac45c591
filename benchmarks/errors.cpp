// Error trees as text.

#include "bench.h"

#include <fmt/format.h>
#include <qiv/errors.h>

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

} // namespace

void bench::addErrors() {
  const Errors errors{Qiv::LogicError::create(message, makeCauses(1))};
  bench::Row("error tree of 100 nodes to text", 0.75, [=] {
    return Qiv::ObjectErrorHelper::toDisplayString(errors, 0);
  }).peer("fmt", [=] {
    fmt::memory_buffer out;
    printWithFmt(out, errors, 0);
    return fmt::to_string(out);
  });
}

#include "qiv/errors.h"

#include <algorithm>
#include <typeinfo>
#include <utility>

namespace Qiv {

namespace {

/// dynamic_cast, asked only of an error that is not a plain LogicError, as most are.
template <typename T>
const T* as(const ObjectError& error) {
  return typeid(error) == typeid(LogicError) ? nullptr : dynamic_cast<const T*>(&error);
}

void appendDisplayText(std::string& output, const std::vector<std::shared_ptr<ObjectError>>& errors,
                       int level) {
  std::string lineStart = "\n";
  if (level > 0)
    lineStart.append(2 * (static_cast<std::size_t>(level) - 1), ' ').append("* ");
  const std::size_t start = output.size();
  for (const auto& error : errors) {
    if (as<CombineError>(*error)) {
      appendDisplayText(output, error->getInnerErrors(), level);
      continue;
    }
    if (as<FunctionError>(*error))
      continue;
    output.append(lineStart, output.size() > start ? 0 : 1);
    output += error->getMessage();
    if (error->getInnerErrors().empty())
      continue;

    const std::size_t end = output.size();
    output += '\n';
    appendDisplayText(output, error->getInnerErrors(), level + 1);
    if (output.size() == end + 1)
      output.resize(end);
  }
}

} // namespace

Result::Result(bool success) : error(success ? nullptr : FunctionError::get()) {}
Result::Result(std::shared_ptr<ObjectError> error) : error(std::move(error)) {}

bool Result::hasDefinedError() const {
  return error && !as<FunctionError>(*error);
}

Result ResultHelper::combineResults(const std::vector<Result>& results) {
  const auto failed = [](const Result& result) { return !result.isValid(); };
  const auto failures = std::count_if(results.begin(), results.end(), failed);
  if (failures == 0)
    return true;
  std::vector<std::shared_ptr<ObjectError>> errors;
  errors.reserve(static_cast<std::size_t>(failures));
  for (const Result& result : results)
    if (failed(result))
      errors.push_back(result.getError());
  return Result(std::make_shared<CombineError>(std::move(errors)));
}

std::string
ObjectErrorHelper::toDisplayString(const std::vector<std::shared_ptr<ObjectError>>& errors,
                                   int level) {
  std::string output;
  appendDisplayText(output, errors, level);
  return output;
}

} // namespace Qiv

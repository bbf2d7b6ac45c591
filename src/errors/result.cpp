#include "qiv/errors.h"

#include <utility>

namespace Qiv {

namespace {

template <typename T>
const T* as(const std::shared_ptr<ObjectError>& error) {
  return dynamic_cast<const T*>(error.get());
}

void appendDisplayText(std::string& output, const std::vector<std::shared_ptr<ObjectError>>& errors,
                       int level) {
  const std::size_t start = output.size();
  for (const auto& error : errors) {
    if (as<CombineError>(error)) {
      appendDisplayText(output, error->getInnerErrors(), level);
      continue;
    }
    if (as<FunctionError>(error))
      continue;
    if (output.size() > start)
      output += '\n';
    if (level > 0)
      output.append(2 * (static_cast<std::size_t>(level) - 1), ' ').append("* ");
    output += error->getMessage();

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
  return error && !as<FunctionError>(error);
}

Result ResultHelper::combineResults(const std::vector<Result>& results) {
  std::vector<std::shared_ptr<ObjectError>> errors;
  for (const Result& result : results)
    if (!result.isValid())
      errors.push_back(result.getError());
  return errors.empty() ? Result(true) : Result(CombineError::create(errors));
}

std::string
ObjectErrorHelper::toDisplayString(const std::vector<std::shared_ptr<ObjectError>>& errors,
                                   int level) {
  std::string output;
  appendDisplayText(output, errors, level);
  return output;
}

} // namespace Qiv

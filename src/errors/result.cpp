#include "qiv/errors.h"

#include <algorithm>
#include <typeinfo>
#include <utility>

namespace Qiv {

using Errors = std::vector<std::shared_ptr<ObjectError>>;

namespace {

/// dynamic_cast, asked only of an error that is not a plain LogicError, as most are.
template <typename T>
const T* as(const ObjectError& error) {
  return typeid(error) == typeid(LogicError) ? nullptr : dynamic_cast<const T*>(&error);
}

/// A list of errors that is being written.
struct List {
  const Errors* errors;
  int level;
  std::size_t start;    ///< of its text in the output
  bool hasLineFeed;     ///< before its text, which goes when that is empty
  std::size_t next = 0; ///< of the errors
};

void appendLine(std::string& output, const char* message, const List& list) {
  const bool isFirst = output.size() == list.start;
  const auto level = static_cast<std::size_t>(std::max(list.level, 0));
  const std::size_t start = output.size();
  output.append(2 * level + !isFirst, ' ');
  if (!isFirst)
    output[start] = '\n';
  if (level > 0)
    output[output.size() - 2] = '*';
  output += message;
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
  Errors errors;
  errors.reserve(static_cast<std::size_t>(failures));
  for (const Result& result : results)
    if (failed(result))
      errors.push_back(result.getError());
  return Result(std::make_shared<CombineError>(std::move(errors)));
}

/// The lists around the one that is being written wait on a stack of their own: a thread's would
/// not hold a tree of any depth.
std::string ObjectErrorHelper::toDisplayString(const Errors& errors, int level) {
  std::string output;
  std::vector<List> lists;
  lists.reserve(16);
  lists.push_back({&errors, level, 0, false});
  while (!lists.empty()) {
    List& list = lists.back();
    if (list.next == list.errors->size()) {
      if (list.hasLineFeed && output.size() == list.start)
        output.pop_back();
      lists.pop_back();
      continue;
    }
    const ObjectError& error = *(*list.errors)[list.next++];
    const Errors& inner = error.getInnerErrors();
    if (as<CombineError>(error)) {
      lists.push_back({&inner, list.level, output.size(), false});
    } else if (!as<FunctionError>(error)) {
      appendLine(output, error.getMessage(), list);
      if (!inner.empty()) {
        output += '\n';
        lists.push_back({&inner, list.level + 1, output.size(), true});
      }
    }
  }
  return output;
}

} // namespace Qiv

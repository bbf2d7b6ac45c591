#include "qiv/errors.h"

#include "internal/checked_text.h"

#include <iterator>
#include <new>
#include <utility>

namespace Qiv {

using Errors = std::vector<std::shared_ptr<ObjectError>>;

namespace {

Errors listOf(const std::shared_ptr<ObjectError>& error) {
  return Errors(error ? 1 : 0, error);
}

void handOver(Errors& from, Errors& to) {
  try {
    to.insert(to.end(), std::move_iterator(from.begin()), std::move_iterator(from.end()));
  } catch (const std::bad_alloc&) { // then they go with the object that holds them
  }
}

void releaseOneByOne(Errors& errors) {
  while (!errors.empty()) {
    const std::shared_ptr<ObjectError> next = std::move(errors.back());
    errors.pop_back();
  }
}

/// Releases the inner errors of one that is destroyed. A tree of any depth fits on any stack: below
/// the usual depth they are handed to the release that goes on in this thread. None is taken apart
/// before it is destroyed, since others may share it, or lock a weak pointer to it at this moment.
void release(Errors& errors) {
  constexpr int usualDepth = 32;
  thread_local struct {
    int depth;
    Errors* pending;
  } current;
  if (current.depth < usualDepth) {
    ++current.depth;
    errors.clear();
    --current.depth;
  } else if (current.pending) {
    handOver(errors, *current.pending);
  } else {
    current.pending = &errors;
    releaseOneByOne(errors);
    current.pending = nullptr;
  }
}

} // namespace

ObjectError::ObjectError() = default;
ObjectError::ObjectError(const Errors& innerErrors) : innerErrors(innerErrors) {}
ObjectError::ObjectError(Errors&& innerErrors) : innerErrors(std::move(innerErrors)) {}

ObjectError::~ObjectError() {
  if (!innerErrors.empty())
    release(innerErrors);
}

const char* ObjectError::getMessage() const {
  return "?";
}

LogicError::LogicError(const std::string& message, const Errors& innerErrors)
    : ObjectError(innerErrors), message(message) {}
LogicError::LogicError(const char* message, const Errors& innerErrors)
    : LogicError(std::string(internal::checkedText(message)), innerErrors) {}
LogicError::~LogicError() = default;

std::shared_ptr<ObjectError> LogicError::create(const std::string& message,
                                                const Errors& innerErrors) {
  return std::make_shared<LogicError>(message, innerErrors);
}

std::shared_ptr<ObjectError> LogicError::create(const std::string& message,
                                                const std::shared_ptr<ObjectError>& innerError) {
  return create(message, listOf(innerError));
}

std::shared_ptr<ObjectError> LogicError::create(const std::string& message, std::nullptr_t) {
  return create(message, Errors());
}

const char* LogicError::getMessage() const {
  return message.c_str();
}

ExceptionError::ExceptionError(const std::string& message,
                               std::shared_ptr<std::exception>& exception,
                               const Errors& innerErrors)
    : ObjectError(innerErrors), message(message), exception(exception) {}
ExceptionError::ExceptionError(const char* message, std::shared_ptr<std::exception>& exception,
                               const Errors& innerErrors)
    : ExceptionError(std::string(internal::checkedText(message)), exception, innerErrors) {}
ExceptionError::~ExceptionError() = default;

std::shared_ptr<ObjectError> ExceptionError::create(const std::string& message,
                                                    std::shared_ptr<std::exception>& exception,
                                                    const Errors& innerErrors) {
  return std::make_shared<ExceptionError>(message, exception, innerErrors);
}

std::shared_ptr<ObjectError>
ExceptionError::create(const std::string& message, std::shared_ptr<std::exception>& exception,
                       const std::shared_ptr<ObjectError>& innerError) {
  return create(message, exception, listOf(innerError));
}

std::shared_ptr<ObjectError> ExceptionError::create(const std::string& message,
                                                    std::shared_ptr<std::exception> exception,
                                                    std::nullptr_t) {
  return create(message, exception, Errors());
}

const char* ExceptionError::getMessage() const {
  return message.c_str();
}

CombineError::CombineError(const Errors& innerErrors) : ObjectError(innerErrors) {}
CombineError::CombineError(Errors&& innerErrors) : ObjectError(std::move(innerErrors)) {}
CombineError::~CombineError() = default;

std::shared_ptr<ObjectError> CombineError::create(const Errors& innerErrors) {
  return std::make_shared<CombineError>(innerErrors);
}

const char* CombineError::getMessage() const {
  return lng::Common::error();
}

FunctionError::FunctionError() = default;
FunctionError::~FunctionError() = default;

std::shared_ptr<FunctionError> FunctionError::get() {
  class FunctionErrorEx : public FunctionError {};
  // Never destroyed: what runs at exit may fail, too.
  static const auto& instance =
      *new std::shared_ptr<FunctionError>(std::make_shared<FunctionErrorEx>());
  return instance;
}

const char* FunctionError::getMessage() const {
  return "?";
}

} // namespace Qiv

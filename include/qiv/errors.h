#ifndef QIV_ERRORS_H
#define QIV_ERRORS_H

/// Error trees, results and the language of messages.
///
/// An operation returns a Result: success, or a tree of errors that tells what went wrong and why.
///
///     Qiv::Result save() {
///       if (!writable)
///         return Qiv::LogicError::create("cannot save", cause);
///       return true;
///     }
///     if (Qiv::Result result = save(); !result)
///       show(Qiv::ObjectErrorHelper::toDisplayString({result.getError()}, 0));
///
/// Error objects never change once made, so any thread may read and share them. lng::language is a
/// plain byte: set it once, before threads that produce messages start.

#include "qiv/export.h"

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace lng {

/// Language of every message of the process produced from now on: 0 English, 1 Russian (the initial
/// value). Other values are not supported. The library only reads it, without a lock: set it before
/// threads that produce messages start.
extern QIV_API unsigned char language;

/// Sets `language` to Russian when that is the language of the user's messages, otherwise to
/// English. The environment tells it as it tells gettext: the locale is the first of LC_ALL,
/// LC_MESSAGES and LANG that is set; unless it is "C" or "POSIX", the list of locales in LANGUAGE
/// goes before it, of which the first that is English or Russian counts.
QIV_API void setFromLocale();

/// Words that several families share. The texts are UTF-8 literals that live as long as the
/// process.
class QIV_API Common {
public:
  /// "error" or "ошибка".
  QIV_API static const char* error() {
    static const char* const ar[] = {"error", "ошибка"};
    return ar[language];
  }
};

} // namespace lng

namespace Qiv {

/// Root of the error classes: a message and the inner errors, both fixed at construction. Any
/// thread may read an error object, and any number of results and errors may share it. A tree may
/// be of any depth.
class QIV_API ObjectError {
public:
  /// Copies or takes the list, not the errors in it. None of them may be null: the display text
  /// does not look for that.
  /// @{
  ObjectError();
  explicit ObjectError(const std::vector<std::shared_ptr<ObjectError>>& innerErrors);
  explicit ObjectError(std::vector<std::shared_ptr<ObjectError>>&& innerErrors);
  /// @}
  virtual ~ObjectError();

  /// Error objects are shared, never copied.
  ObjectError(const ObjectError&) = delete;
  ObjectError& operator=(const ObjectError&) = delete;

  /// The message, "?" where the class has none. The pointer is valid as long as the object lives.
  virtual const char* getMessage() const;

  /// The causes, in the order given at construction. The reference is valid as long as the object
  /// lives.
  const std::vector<std::shared_ptr<ObjectError>>& getInnerErrors() const { return innerErrors; }

private:
  std::vector<std::shared_ptr<ObjectError>> innerErrors;
};

/// A failure told in the caller's own words.
class QIV_API LogicError : public ObjectError {
public:
  /// Both copy the message. A null message throws std::logic_error.
  /// @{
  LogicError(const std::string& message,
             const std::vector<std::shared_ptr<ObjectError>>& innerErrors);
  LogicError(const char* message, const std::vector<std::shared_ptr<ObjectError>>& innerErrors);
  /// @}
  ~LogicError() override;

  /// A new error with these causes.
  static std::shared_ptr<ObjectError>
  create(const std::string& message, const std::vector<std::shared_ptr<ObjectError>>& innerErrors);
  /// A new error with this cause, without causes when `innerError` is empty.
  static std::shared_ptr<ObjectError> create(const std::string& message,
                                             const std::shared_ptr<ObjectError>& innerError);
  /// A new error without causes.
  static std::shared_ptr<ObjectError> create(const std::string& message, std::nullptr_t = nullptr);

  const char* getMessage() const override;

private:
  const std::string message;
};

/// A caught exception with a message of its own. The exception object is shared with the caller;
/// threads that share the error read it at once.
class QIV_API ExceptionError : public ObjectError {
public:
  /// Both copy the message and share the exception. A null message throws std::logic_error.
  /// @{
  ExceptionError(const std::string& message, std::shared_ptr<std::exception>& exception,
                 const std::vector<std::shared_ptr<ObjectError>>& innerErrors);
  ExceptionError(const char* message, std::shared_ptr<std::exception>& exception,
                 const std::vector<std::shared_ptr<ObjectError>>& innerErrors);
  /// @}
  ~ExceptionError() override;

  /// A new error with these causes.
  static std::shared_ptr<ObjectError>
  create(const std::string& message, std::shared_ptr<std::exception>& exception,
         const std::vector<std::shared_ptr<ObjectError>>& innerErrors);
  /// A new error with this cause, without causes when `innerError` is empty.
  static std::shared_ptr<ObjectError> create(const std::string& message,
                                             std::shared_ptr<std::exception>& exception,
                                             const std::shared_ptr<ObjectError>& innerError);
  /// A new error without causes. The exception may be of any class derived from std::exception.
  static std::shared_ptr<ObjectError> create(const std::string& message,
                                             std::shared_ptr<std::exception> exception,
                                             std::nullptr_t = nullptr);

  const char* getMessage() const override;

  /// The exception given at construction; may be empty.
  std::shared_ptr<std::exception> getException() { return exception; }

private:
  const std::string message;
  const std::shared_ptr<std::exception> exception;
};

/// A group of errors. Its own message is only the localised word "error" of the moment; the display
/// text shows the grouped errors in its place.
class QIV_API CombineError : public ObjectError {
public:
  /// Groups the errors in their order.
  /// @{
  explicit CombineError(const std::vector<std::shared_ptr<ObjectError>>& innerErrors);
  explicit CombineError(std::vector<std::shared_ptr<ObjectError>>&& innerErrors);
  /// @}
  ~CombineError() override;

  /// A new group of the errors. ResultHelper::combineResults makes one of results.
  static std::shared_ptr<ObjectError>
  create(const std::vector<std::shared_ptr<ObjectError>>& innerErrors);

  const char* getMessage() const override;
};

/// Marks a failure without details. It is recognised by its type, has no text and is never shown.
class QIV_API FunctionError : public ObjectError {
public:
  FunctionError();
  ~FunctionError() override;

  /// The one shared object, the same for every caller and thread, made on first use.
  static std::shared_ptr<FunctionError> get();

  const char* getMessage() const override;
};

/// What an operation returns: success, or failure with an error. Copies share the error and may go
/// to other threads; a Result itself belongs to one thread at a time.
class QIV_API Result {
public:
  /// `false` is a failure without details: its error is FunctionError::get().
  Result(bool success);
  /// An empty pointer is success.
  Result(std::shared_ptr<ObjectError> error);
  /// A raw pointer would turn into a bool and read as success.
  template <typename T>
  Result(T*) = delete;

  /// Empty for a success. What is assigned to it becomes the result's error.
  /// @{
  std::shared_ptr<ObjectError>& getError() { return error; }
  const std::shared_ptr<ObjectError>& getError() const { return error; }
  /// @}

  /// True for a success.
  /// @{
  bool isValid() const { return !error; }
  operator bool() const { return isValid(); }
  /// @}

  /// True for a failure that says more than Result(false) does.
  bool hasDefinedError() const;

  /// Compares error objects by identity: two failures of the same text are not equal.
  /// @{
  bool operator==(const Result& other) const { return error == other.error; }
  bool operator!=(const Result& other) const { return !(*this == other); }
  /// @}

private:
  std::shared_ptr<ObjectError> error;
};

/// Many results as one. Safe to call from any thread.
class QIV_API ResultHelper {
public:
  /// Success when every result is valid (or there is none), otherwise one CombineError of all the
  /// failures in their order; a single failure is wrapped too.
  static Result combineResults(const std::vector<Result>& results);
};

/// Errors as text. Safe to call from any thread.
class QIV_API ObjectErrorHelper {
public:
  /// The text shown to the user: a line for each error, inner errors indented below as "* " items,
  /// no line feed at the end. Groups show their members in their place, without a line break before
  /// them; FunctionError is left out. Pass level 0 for a top-level list. No error may be null.
  static std::string toDisplayString(const std::vector<std::shared_ptr<ObjectError>>& errors,
                                     int level);
};

} // namespace Qiv

#endif

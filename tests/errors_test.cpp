#include "qiv/errors.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace Qiv;
using Errors = std::vector<std::shared_ptr<ObjectError>>;

static_assert(!std::is_constructible_v<Result, const char*>, "a text must not read as success");

static std::shared_ptr<ObjectError> error(const std::string& message, const Errors& inner = {}) {
  return LogicError::create(message, inner);
}

TEST(ObjectError, HasMessageAndException) {
  std::shared_ptr<std::exception> exception = std::make_shared<std::runtime_error>("boom");
  const auto wrapped = ExceptionError::create("", exception, nullptr);
  EXPECT_EQ(dynamic_cast<ExceptionError&>(*wrapped).getException(), exception);
  EXPECT_THROW(LogicError(static_cast<const char*>(nullptr), {}), std::logic_error);
  EXPECT_EQ(ObjectError().getMessage() + std::string(CombineError({}).getMessage()), "?ошибка");
}

TEST(ResultHelper, CombinesFailuresInOrder) {
  const auto a = error("a"), undefined = Result(false).getError();
  EXPECT_TRUE(ResultHelper::combineResults({true, true}).isValid());
  const Result combined = ResultHelper::combineResults({true, a, false, a});
  EXPECT_EQ(combined.getError()->getInnerErrors(), (Errors{a, undefined, a}));
  EXPECT_TRUE(combined.hasDefinedError() && !Result(false).hasDefinedError());
}

TEST(ObjectErrorHelper, DisplaysTrees) {
  const auto group = CombineError::create({error("B"), error("C")}),
             mark = Result(false).getError();
  const auto cause = error("A", {error("E", {error("F")}), mark, group});
  EXPECT_EQ(ObjectErrorHelper::toDisplayString({group, cause, group, error("D")}, 0),
            "B\nC\nA\n* E\n  * F* B\n* CB\nC\nD");
  EXPECT_EQ(ObjectErrorHelper::toDisplayString({error(""), error("A"), cause}, -1),
            "A\nA\nE\n* FB\nC");
}

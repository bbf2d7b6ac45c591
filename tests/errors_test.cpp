#include "qiv/errors.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace Qiv;
using Errors = std::vector<std::shared_ptr<ObjectError>>;

static_assert(!std::is_constructible_v<Result, const char*>, "a text must not read as success");

static std::shared_ptr<ObjectError> error(const std::string& message, const Errors& inner = {}) {
  return LogicError::create(message, inner);
}

TEST(ObjectError, HasMessageCausesAndException) {
  std::shared_ptr<std::exception> exception = std::make_shared<std::runtime_error>("boom");
  const auto cause = error("cause");
  const auto wrapped = ExceptionError::create("wrapped", exception, cause);
  EXPECT_STREQ(wrapped->getMessage(), "wrapped");
  EXPECT_EQ(wrapped->getInnerErrors(), Errors{cause});
  EXPECT_EQ(dynamic_cast<ExceptionError&>(*wrapped).getException(), exception);
  EXPECT_TRUE(LogicError::create("a", nullptr)->getInnerErrors().empty());
  const char* const null = nullptr;
  EXPECT_THROW(LogicError(null, {}), std::logic_error);
  EXPECT_THROW(ExceptionError(null, exception, {}), std::logic_error);
  for (const char* word : {"ошибка", "error", "ошибка"}) {
    EXPECT_EQ(std::string(ObjectError().getMessage()) + FunctionError().getMessage(), "??");
    EXPECT_STREQ(CombineError({}).getMessage(), word);
    lng::language ^= 1U;
  }
  lng::language = 1;
}

TEST(ResultHelper, CombinesFailuresInOrder) {
  const auto a = error("a");
  EXPECT_TRUE(ResultHelper::combineResults({true, true}));
  const Result combined = ResultHelper::combineResults({true, a, false, a});
  EXPECT_NE(dynamic_cast<CombineError*>(combined.getError().get()), nullptr);
  EXPECT_EQ(combined.getError()->getInnerErrors(), (Errors{a, FunctionError::get(), a}));
  EXPECT_TRUE(combined.hasDefinedError() && !Result(false).hasDefinedError());
  EXPECT_TRUE(Result(a) == Result(a) && Result(a) != error("a"));
}

TEST(ObjectErrorHelper, DisplaysTrees) {
  const auto group = CombineError::create({error("B"), error("C")}),
             marker = Result(false).getError();
  const auto cause = error("A", {error("E", {error("F")}), marker, group});
  const std::tuple<const char*, Errors, int, const char*> rows[] = {
      {"groups", {group, cause, group, error("D")}, 0, "B\nC\nA\n* E\n  * F* B\n* CB\nC\nD"},
      {"level 3 has an indent", {error("A"), error("B")}, 3, "    * A\n    * B"},
      {"below level -1 is level 0", {error("A", {error("B")}), error("C")}, -1, "A\nB\nC"},
      {"only markers inside", {error("A", {marker, CombineError::create({marker})})}, 0, "A"},
      {"an empty message leaves no line", {error(""), error("B")}, 0, "B"}};
  for (const auto& [name, errors, level, text] : rows)
    EXPECT_EQ(ObjectErrorHelper::toDisplayString(errors, level), text) << name;
}

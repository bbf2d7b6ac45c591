#include "qiv/errors.h"

#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <type_traits>

using namespace Qiv;
using Errors = std::vector<std::shared_ptr<ObjectError>>;

static_assert(!std::is_constructible_v<Result, const char*>, "a text must not read as success");
static_assert(!std::is_copy_constructible_v<LogicError>, "error objects are shared, not copied");

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
  EXPECT_TRUE(ExceptionError::create("a", exception, nullptr)->getInnerErrors().empty());
  EXPECT_TRUE(LogicError::create("a", nullptr)->getInnerErrors().empty());
  EXPECT_STREQ(ObjectError().getMessage(), "?");
  EXPECT_STREQ(FunctionError().getMessage(), "?");
  EXPECT_STREQ(CombineError({}).getMessage(), "ошибка");
  lng::language = 0;
  EXPECT_STREQ(CombineError({}).getMessage(), "error");
}

TEST(ObjectError, NullMessageThrows) {
  std::shared_ptr<std::exception> exception;
  const char* const null = nullptr;
  const std::function<void()> makers[] = {[&] { ExceptionError(null, exception, {}); },
                                          [&] { LogicError(null, {}); }};
  for (const auto& make : makers)
    try {
      make();
      FAIL() << "a null message was taken";
    } catch (const std::logic_error& thrown) {
      EXPECT_STREQ(thrown.what(), "basic_string::_M_construct null not valid");
    }
}

TEST(ResultHelper, CombinesFailuresInOrder) {
  const auto a = error("a");
  EXPECT_TRUE(ResultHelper::combineResults({true, true}));
  const Result combined = ResultHelper::combineResults({true, a, false, a});
  ASSERT_NE(dynamic_cast<CombineError*>(combined.getError().get()), nullptr);
  EXPECT_EQ(combined.getError()->getInnerErrors(), (Errors{a, FunctionError::get(), a}));
  EXPECT_TRUE(ResultHelper::combineResults({false}).hasDefinedError());
}

TEST(ObjectErrorHelper, DisplaysTrees) {
  const auto marker = FunctionError::get();
  const auto group = CombineError::create({error("B"), error("C")});
  const std::tuple<const char*, Errors, int, const char*> rows[] = {
      {"causes are indented", {error("A", {error("B", {error("C")}), marker})}, 0, "A\n* B\n  * C"},
      {"level 3 has an indent", {error("A"), error("B")}, 3, "    * A\n    * B"},
      {"level -1 has none", {error("A"), error("B")}, -1, "A\nB"},
      {"the level below -1 is 0", {error("A", {error("B")})}, -1, "A\nB"},
      {"a group continues the line", {error("A"), group}, 0, "AB\nC"},
      {"a group comes first", {group, error("D")}, 0, "B\nC\nD"},
      {"a group as a cause", {error("A", {group, error("D")})}, 0, "A\n* B\n* C\n* D"},
      {"only markers inside", {error("A", {marker, CombineError::create({marker})})}, 0, "A"},
      {"an empty message leaves no line", {error(""), error("B")}, 0, "B"}};
  for (const auto& [name, errors, level, text] : rows)
    EXPECT_EQ(ObjectErrorHelper::toDisplayString(errors, level), text) << name;
}

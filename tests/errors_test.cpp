#include "qiv/errors.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <type_traits>

using namespace Qiv;

namespace {

using Errors = std::vector<std::shared_ptr<ObjectError>>;

static_assert(!std::is_constructible_v<Result, const char*>, "a text must not read as success");
static_assert(!std::is_copy_constructible_v<LogicError>, "error objects are shared, not copied");

std::shared_ptr<ObjectError> error(const std::string& message, const Errors& inner = {}) {
  return LogicError::create(message, inner);
}

TEST(Language, IsReadAtEveryCall) {
  const auto group = CombineError::create({});
  EXPECT_STREQ(lng::Common::error(), "ошибка");
  lng::language = 0;
  EXPECT_STREQ(lng::Common::error(), "error");
  EXPECT_STREQ(group->getMessage(), "error");
  lng::language = 1;
  EXPECT_STREQ(group->getMessage(), "ошибка");
}

TEST(ObjectError, KeepsMessageCausesAndException) {
  auto thrown = std::make_shared<std::runtime_error>("boom");
  std::shared_ptr<std::exception> exception = thrown;
  const auto cause = error("cause");
  const auto wrapped = ExceptionError::create("wrapped", exception, cause);

  EXPECT_STREQ(wrapped->getMessage(), "wrapped");
  EXPECT_EQ(wrapped->getInnerErrors(), Errors{cause});
  EXPECT_EQ(dynamic_cast<ExceptionError&>(*wrapped).getException(), exception);
  EXPECT_EQ(thrown.use_count(), 3);
  EXPECT_STREQ(ObjectError().getMessage(), "?");
  EXPECT_STREQ(FunctionError::get()->getMessage(), "?");
}

TEST(ObjectError, EmptyCauseIsNoCause) {
  std::shared_ptr<std::exception> none;
  const std::shared_ptr<ObjectError> noCause;
  EXPECT_TRUE(LogicError::create("a", noCause)->getInnerErrors().empty());
  EXPECT_TRUE(ExceptionError::create("a", none, noCause)->getInnerErrors().empty());
}

TEST(ObjectError, NullMessageThrows) {
  const char* const null = nullptr;
  try {
    LogicError(null, {});
    FAIL() << "a null message was taken";
  } catch (const std::logic_error& thrown) {
    EXPECT_STREQ(thrown.what(), "basic_string::_M_construct null not valid");
  }
  std::shared_ptr<std::exception> exception;
  EXPECT_THROW(ExceptionError(null, exception, {}), std::logic_error);
}

TEST(Result, ComparesErrorsByIdentity) {
  const auto shared = error("a");
  EXPECT_EQ(Result(true), Result(nullptr));
  EXPECT_EQ(Result(false), Result(false));
  EXPECT_EQ(Result(shared), Result(shared));
  EXPECT_NE(Result(error("a")), Result(error("a")));
}

TEST(Result, KnowsFailuresWithoutDetails) {
  EXPECT_TRUE(Result(true).isValid());
  EXPECT_FALSE(Result(true).hasDefinedError());
  EXPECT_FALSE(Result(false));
  EXPECT_FALSE(Result(false).hasDefinedError());
  EXPECT_FALSE(Result(std::make_shared<FunctionError>()).hasDefinedError());
  EXPECT_TRUE(Result(error("a")).hasDefinedError());
}

TEST(ResultHelper, CombinesFailuresInOrder) {
  EXPECT_TRUE(ResultHelper::combineResults({}));
  EXPECT_TRUE(ResultHelper::combineResults({true, true}));

  const auto a = error("a");
  const Result combined = ResultHelper::combineResults({true, a, false, a});
  ASSERT_NE(dynamic_cast<CombineError*>(combined.getError().get()), nullptr);
  EXPECT_EQ(combined.getError()->getInnerErrors(), (Errors{a, FunctionError::get(), a}));

  const Result single = ResultHelper::combineResults({false});
  EXPECT_TRUE(single.hasDefinedError());
  EXPECT_EQ(ObjectErrorHelper::toDisplayString({single.getError()}, 0), "");
}

TEST(ObjectErrorHelper, DisplaysTrees) {
  const auto marker = FunctionError::get();
  const auto group = [](const Errors& inner) { return CombineError::create(inner); };
  const struct {
    const char* name;
    Errors errors;
    int level;
    const char* text;
  } rows[] = {
      {"nothing", {}, 0, ""},
      {"causes are indented", {error("A", {error("B", {error("C")}), marker})}, 0, "A\n* B\n  * C"},
      {"level 1 has bullets", {error("A"), error("B")}, 1, "* A\n* B"},
      {"level 3 has an indent", {error("A"), error("B")}, 3, "    * A\n    * B"},
      {"a negative level is 0", {error("A", {error("B")})}, -1, "A\nB"},
      {"a group continues the line", {error("A"), group({error("B"), error("C")})}, 0, "AB\nC"},
      {"a group comes first", {group({error("A")}), error("B")}, 0, "A\nB"},
      {"a group as a cause", {error("A", {group({error("B")}), error("C")})}, 0, "A\n* B\n* C"},
      {"only markers inside", {error("A", {marker, group({marker})}), error("B")}, 0, "A\nB"},
      {"an empty message leaves no line", {error(""), error("B")}, 0, "B"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(ObjectErrorHelper::toDisplayString(row.errors, row.level), row.text) << row.name;
}

} // namespace

#include "qiv/errors.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <stdexcept>

using namespace Qiv;
using namespace std::string_literals;
using Errors = std::vector<std::shared_ptr<ObjectError>>;

static_assert(!std::is_constructible_v<Result, const char*>, "a text must not read as success");

static std::shared_ptr<ObjectError> error(const std::string& message, const Errors& inner = {}) {
  return LogicError::create(message, inner);
}

/// Russian is the initial language, whatever the environment says.
TEST(Language, FollowsTheUsersMessages) {
  EXPECT_EQ(CombineError({}).getMessage(), "ошибка"s);
  const std::pair<std::map<std::string, const char*>, const char*> rows[] = {
      {{}, "error"},
      {{{"LANG", "ru_RU.UTF-8"}}, "ошибка"},
      {{{"LANG", "rup_MK"}}, "error"},
      {{{"LANG", "ru"}, {"LC_ALL", ""}}, "ошибка"},
      {{{"LANG", "ru"}, {"LC_MESSAGES", "de"}}, "error"},
      {{{"LANG", "de"}, {"LC_MESSAGES", "en_US"}, {"LC_ALL", "ru@x"}}, "ошибка"},
      {{{"LANG", "de"}, {"LANGUAGE", ":de:ru_RU:en"}}, "ошибка"},
      {{{"LANG", "ru"}, {"LANGUAGE", "de:en:ru"}}, "error"},
      {{{"LANG", "ru"}, {"LANGUAGE", "de"}}, "error"},
      {{{"LANG", "ru"}, {"LANGUAGE", ""}}, "ошибка"},
      {{{"LANG", "C.UTF-8"}, {"LANGUAGE", "ru"}}, "error"}};
  for (const auto& [environment, word] : rows) {
    clearenv();
    for (const auto& [name, value] : environment)
      setenv(name.c_str(), value, 1);
    lng::setFromLocale();
    EXPECT_STREQ(lng::Common::error(), word) << testing::PrintToString(environment);
  }
}

TEST(ObjectError, HasMessageCausesAndException) {
  EXPECT_EQ(ObjectError().getMessage(), "?"s);
  EXPECT_THROW(LogicError(static_cast<const char*>(nullptr), {}), std::logic_error);
  for (const auto& plain : {LogicError::create("a"), LogicError::create("a", {}),
                            LogicError::create("a", std::shared_ptr<ObjectError>())}) {
    EXPECT_EQ(plain->getMessage(), "a"s);
    EXPECT_EQ(plain->getInnerErrors(), Errors());
  }
  std::shared_ptr<std::exception> exception = std::make_shared<std::runtime_error>("boom");
  for (const auto& wrapped :
       {ExceptionError::create("", exception, nullptr), ExceptionError::create("", exception)})
    EXPECT_EQ(dynamic_cast<ExceptionError&>(*wrapped).getException(), exception);
  EXPECT_NE(ExceptionError::create("", std::make_shared<std::bad_alloc>()), nullptr);
}

TEST(ResultHelper, CombinesFailuresInOrder) {
  const auto a = error("a"), undefined = Result(false).getError();
  EXPECT_TRUE(ResultHelper::combineResults({true, true}).isValid());
  const Result combined = ResultHelper::combineResults({true, a, false, a});
  EXPECT_EQ(combined.getError()->getInnerErrors(), (Errors{a, undefined, a}));
  EXPECT_TRUE(combined.hasDefinedError());
  EXPECT_FALSE(Result(false).hasDefinedError());
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

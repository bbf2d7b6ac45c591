#include "qiv/errors.h"

#include "support.h"

#include <pthread.h>
#include <stdexcept>
#include <thread>

using namespace Qiv;
using namespace std::string_literals;
using Errors = std::vector<std::shared_ptr<ObjectError>>;

static_assert(!std::is_constructible_v<Result, const char*>, "a text must not read as success");

static const auto display = ObjectErrorHelper::toDisplayString;

static std::shared_ptr<ObjectError> error(const std::string& message, const Errors& inner = {}) {
  return LogicError::create(message, inner);
}

/// Russian is the initial language, whatever the environment says.
TEST(Language, FollowsTheUsersMessages) {
  EXPECT_EQ(CombineError({}).getMessage(), "ошибка"s);
  const std::pair<std::vector<const char*>, const char*> rows[] = {
      {{}, "error"},
      {{"LANG=ru_RU.UTF-8", "LC_ALL=", "LANGUAGE="}, "ошибка"},
      {{"LANG=ru", "LC_MESSAGES=rup_MK"}, "error"},
      {{"LANG=de", "LC_MESSAGES=en_US", "LC_ALL=ru@x"}, "ошибка"},
      {{"LANG=de", "LANGUAGE=:de:ru_RU:en"}, "ошибка"},
      {{"LANG=ru", "LANGUAGE=de:en:ru"}, "error"},
      {{"LANG=ru", "LANGUAGE=de"}, "error"},
      {{"LANG=C.UTF-8", "LANGUAGE=ru"}, "error"}};
  for (const auto& [environment, word] : rows) {
    clearenv();
    for (const char* variable : environment)
      putenv(const_cast<char*>(variable));
    lng::setFromLocale();
    EXPECT_STREQ(lng::Common::error(), word) << testing::PrintToString(environment);
  }
}

TEST(ObjectError, HasMessageCausesAndException) {
  const char* const none = nullptr;
  std::shared_ptr<std::exception> boom = std::make_shared<std::runtime_error>("boom");
  EXPECT_THROW(LogicError(none, {}), std::logic_error);
  EXPECT_THROW(ExceptionError(none, boom, {}), std::logic_error);
  EXPECT_EQ(FunctionError().getMessage(), "?"s);
  for (const auto& plain :
       {LogicError::create("a"), LogicError::create("a", {}),
        LogicError::create("a", std::shared_ptr<ObjectError>()), ExceptionError::create("a", boom)})
    EXPECT_EQ(plain->getInnerErrors(), Errors());
  const auto wrapped = ExceptionError::create("m", boom, Errors{error("a"), error("b")});
  EXPECT_EQ(wrapped->getMessage(), "m"s);
  EXPECT_EQ(wrapped->getInnerErrors()[1]->getMessage(), "b"s);
  EXPECT_EQ(dynamic_cast<ExceptionError&>(*wrapped).getException(), boom);
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
  const auto group = CombineError::create({error("B"), error("C")});
  const auto cause = error("A", {error("E", {error("F")}), Result(false).getError(), group});
  EXPECT_EQ(display({group, cause, group, error("D")}, 0), "B\nC\nA\n* E\n  * F* B\n* CB\nC\nD");
  EXPECT_EQ(display({error(""), error("A"), cause}, -1), "A\nA\nE\n* FB\nC");
  const auto empty = CombineError::create({});
  EXPECT_EQ(display({error("A", {Result(false).getError()}), empty}, 0), "A");
}

/// What a loop makes that adds the failure of each operation to all before, or puts it in front.
static Result combineOneByOne(int operations, bool inFront, Result all) {
  for (int operation = 0; operation < operations; ++operation)
    all = ResultHelper::combineResults(inFront ? std::vector<Result>{error("x"), all}
                                               : std::vector<Result>{all, error("x")});
  return all;
}

static const int levels = support::rounds(100'000, 5'000'000);

static void* makeShowAndDestroy(void*) {
  for (const bool inFront : {false, true}) {
    const Result all = combineOneByOne(levels, inFront, error("x"));
    EXPECT_EQ(display({all.getError()}, 0).size(), inFront ? levels + 2U : 2U * levels + 1);
  }
  return nullptr;
}

TEST(DeepTree, FitsOnASmallStack) {
  RecordProperty("levels of trees shown and destroyed on a stack of 256 KiB", levels);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 256 * 1024);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, makeShowAndDestroy, nullptr), 0);
  pthread_join(thread, nullptr);
}

TEST(DeepTree, StaysWholeForWhoeverSharesIt) {
  for (int round = 0; round < support::rounds(200, 2000); ++round) {
    const auto leaf = error("leaf");
    Result shared =
        combineOneByOne(100, false, Result(std::make_shared<ObjectError>(Errors{leaf})));
    const std::string text = display({shared.getError()}, 0);
    const std::weak_ptr<ObjectError> watched = shared.getError();
    std::vector<std::thread> owners;
    for (const bool inFront : {false, true})
      owners.emplace_back([](Result root) { root = true; }, combineOneByOne(100, inFront, shared));
    shared = true;
    while (const auto seen = watched.lock())
      EXPECT_EQ(display({seen}, 0), text);
    for (std::thread& owner : owners)
      owner.join();
    EXPECT_EQ(leaf.use_count(), 1);
  }
}

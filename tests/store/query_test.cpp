// Questions: whatever way the planner takes, the answer is that of a scan; sets narrow, count, sum
// and join as their members do; sorting keeps its promises even to comparisons that keep none.
#include "bokfolio/store/internal/query.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "bokfolio/store/internal/planner.hpp"
#include "bokfolio/store/internal/sorted_blocks.hpp"
#include "bokfolio/store/internal/sorting.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/store/query_model.hpp"

namespace bokfolio::test {
namespace {

// Random questions about goods.
class RandomQuestions {
 public:
  explicit RandomQuestions(RandomTrade& trade) : trade_(trade) {}

  Query question() {
    Query query;
    query.store = &trade_.context().parts();
    query.entity = &trade_.context().schema().entity("Good");
    query.throughAccessors = trade_.below(3) == 0;
    if (trade_.below(3) == 0) own(query);
    for (std::size_t count = trade_.below(4); count > 0; --count)
      query.conditions.push_back(condition(2));
    if (trade_.below(2) == 0) order(query);
    if (trade_.below(2) == 0) query.limit = trade_.below(6);
    return query;
  }

 private:
  void own(Query& query) {
    const bool byShop = trade_.below(3) != 0;
    query.owner = trade_.any(byShop ? "Shop" : "Region");
    if (query.owner == nullptr) return;
    query.relationship = &query.entity->property(byShop ? "shop" : "owner")->inverse();
    query.throughAccessors = true;
  }

  void order(Query& query) {
    static const std::vector<std::string> kKeys = {"code",        "grade",     "price",
                                                   "weight",      "made",      "title",
                                                   "shop.opened", "shop.name", "owner.code"};
    for (std::size_t count = 1 + trade_.below(2); count > 0; --count)
      query.order.emplace_back(kKeys[trade_.below(kKeys.size())], trade_.below(2) == 0);
  }

  Predicate condition(int depth) {
    if (depth == 0 || trade_.below(3) != 0) return comparison();
    const std::vector<Predicate> parts = {condition(depth - 1), condition(depth - 1)};
    switch (trade_.below(4)) {
      case 0:
        return Predicate::notPredicate(parts[0]);
      case 1:
        return Predicate::orPredicate(parts);
      default:
        return Predicate::andPredicate(parts);
    }
  }

  Predicate comparison() {
    static const std::vector<std::string> kSigns = {"==", "==", "==", "!=", "<", "<=", ">", ">="};
    const std::string sign = " " + kSigns[trade_.below(kSigns.size())] + " ";
    const std::string equality = trade_.below(4) == 0 ? " != " : " == ";
    switch (trade_.below(14)) {
      case 0:
        return Predicate("code" + sign + "%@", {trade_.integer()});
      case 1:
        return Predicate("code" + sign + "%@", {trade_.decimal()});
      case 2:
        return Predicate("grade" + sign + "%@", {trade_.integer()});
      case 3:
        return Predicate("%@" + sign + "price", {trade_.decimal()});
      case 4:
        return Predicate("weight" + sign + "%@", {trade_.integer()});
      case 5:
        return Predicate("made" + sign + "%@", {trade_.date()});
      case 6:
        return Predicate("title" + sign + "%@", {trade_.text()});
      case 7:
        return Predicate("title LIKE[c] 'a*'");
      case 8:
        return Predicate("shop" + equality + "%@", {trade_.any("Shop")});
      case 9:
        return Predicate("shop.region" + equality + "%@", {trade_.any("Region")});
      case 10:
        return Predicate("shop.region.code" + sign + "%@", {trade_.integer()});
      case 11:
        return Predicate("shop.opened" + sign + "%@", {trade_.date()});
      case 12:
        return Predicate("bestOf" + equality + "%@ OR shop.goods.@count" + sign + "%@",
                         {trade_.any("Shop"), trade_.integer()});
      default:
        return Predicate("bestOf" + equality + "%@ AND bestOf.region" + equality + "%@",
                         {trade_.any("Shop"), trade_.any("Region")});
    }
  }

  RandomTrade& trade_;
};

std::string describe(const Query& query) {
  std::string text = query.throughAccessors ? "through accessors:" : "stored:";
  if (query.owner != nullptr) text += " of " + query.owner->description();
  for (const Predicate& condition : query.conditions) text += " [" + condition.description() + "]";
  for (const SortDescriptor& each : query.order)
    text += (each.ascending() ? " +" : " -") + each.key();
  if (query.limit) text += " limit " + std::to_string(*query.limit);
  return text;
}

// The answer by its definition: every record asked, sorted, cut.
std::vector<Record*> definition(const Query& query) {
  Query whole = query;
  whole.strategy = Query::Strategy::ScanOnly;
  whole.order.clear();
  whole.limit.reset();
  std::vector<Record*> found;
  for (Record* record : query.store->all(*query.entity))
    if (holds(whole, *record)) found.push_back(record);
  if (!query.order.empty())
    internal::sortRecords(found, query.order,
                          query.throughAccessors ? internal::KeyReading::ThroughAccessors
                                                 : internal::KeyReading::Stored);
  if (query.limit && *query.limit < found.size()) found.resize(*query.limit);
  return found;
}

TEST(QueryTest, EveryWayGivesTheAnswerOfAScan) {
  std::size_t answered = 0;
  for (unsigned seed = 1; seed <= 16; ++seed) {
    RandomTrade trade(seed, seed % 8);
    RandomQuestions questions(trade);
    trade.act(200);
    for (int round = 0; round < 120; ++round) {
      trade.act(8);
      Query query = questions.question();
      SCOPED_TRACE("seed " + std::to_string(seed) + ": " + describe(query));
      // Asking for the definition reads everything.
      if (round % 4 != 0) trade.context().releaseUnused();
      const auto count = round % 2 == 0 ? countOf(query) : run(query).size();
      const auto answer = run(query);
      const auto expected = definition(query);
      answered += expected.empty() ? 0U : 1U;
      ASSERT_EQ(answer, expected);
      ASSERT_EQ(count, expected.size());
      query.strategy = Query::Strategy::ScanOnly;
      ASSERT_EQ(run(query), expected);
    }
    ASSERT_TRUE(trade.context().verify().empty());
  }
  EXPECT_GT(answered, 500U) << "questions that nothing answers prove nothing";
}

class QuestionTest : public ::testing::Test {
 protected:
  Record* good(int code, Record* shop, std::int64_t made = 0) {
    Record* record = context().insertNewObject("Good");
    record->setValueForKey(code, "code");
    record->setValueForKey(shop, "shop");
    record->setValueForKey(Date::fromSeconds(made), "made");
    return record;
  }
  Record* shop(Record* region = nullptr) {
    Record* record = context().insertNewObject("Shop");
    record->setValueForKey(region, "region");
    return record;
  }
  Context& context() { return trade_.context(); }
  RecordSet goodsOf(const Record& owner) { return *owner.valueForKey("goods").records(); }
  double estimate(const Predicate& condition) {
    const Entity& entity = context().schema().entity("Good");
    predicate::BoundCondition bound(*condition.root(), entity, internal::KeyReading::Stored);
    std::vector<const predicate::BoundComparison*> conjuncts;
    bound.collectConjuncts(conjuncts);
    return internal::Planner(context().parts(), entity, conjuncts).cheapest().estimate;
  }

  RandomTrade trade_{1};
};

TEST_F(QuestionTest, NarrowsWithoutAScan) {
  Record* region = context().insertNewObject("Region");
  region->setValueForKey(7, "code");
  context().insertNewObject("Region");
  Record* small = shop(region);
  Record* big = shop();
  for (int each = 0; each < 2000; ++each) good(each, each % 100 == 0 ? small : big, each);
  const auto at = [](int seconds) { return Value(Date::fromSeconds(seconds)); };
  EXPECT_EQ(estimate(Predicate("code == 5")), 1);
  EXPECT_EQ(estimate(Predicate("code > 4 AND code <= 6")), 3);
  EXPECT_EQ(estimate(Predicate("code < 4 AND code > 6")), 0);
  EXPECT_EQ(estimate(Predicate("shop == %@", {small})), 20);
  EXPECT_EQ(estimate(Predicate("shop == %@ AND made < %@", {big, at(9)})), 9);
  EXPECT_LT(estimate(Predicate("shop.region == %@", {region})), 1001);
  EXPECT_LT(estimate(Predicate("shop.region.code == 7")), 1001);
  EXPECT_EQ(estimate(Predicate("shop == %@", {region})), 0) << "no shop is a region";
  EXPECT_EQ(estimate(Predicate("bestOf == %@", {small})), 0);
  EXPECT_EQ(estimate(Predicate("code == 5 OR code == 6")), 2000);
}

TEST_F(QuestionTest, SetsAreQuestions) {
  Record* region = context().insertNewObject("Region");
  Record* first = shop(region);
  Record* second = shop(region);
  Record* third = shop();
  std::vector<Record*> goods;
  for (Record* where : {first, second, third})
    for (int code = 0; code < 4; ++code) goods.push_back(good(code, where));
  const RecordSet ofFirst = goodsOf(*first);
  const RecordSet odd = ofFirst.filtered(Predicate("code == 1 OR code == 3"));
  EXPECT_EQ(odd.snapshot(), (std::vector<Record*>{goods[1], goods[3]}));
  EXPECT_EQ(odd.sum("code"), Decimal(4));
  goods[0]->setValueForKey(3, "code");
  goods[4]->setValueForKey(first, "shop");
  context().deleteObject(goods[1]);
  EXPECT_EQ(odd.snapshot(), (std::vector<Record*>{goods[0], goods[3]}));
  EXPECT_EQ(odd.count(), 2U);
  EXPECT_EQ(ofFirst.count(), 4U);
  EXPECT_EQ(odd.first(), goods[0]);
  EXPECT_TRUE(odd.contains(goods[3]));
  EXPECT_FALSE(odd.contains(goods[2]));
  EXPECT_FALSE(ofFirst.contains(goods[1]));
  EXPECT_FALSE(ofFirst.contains(first));
  EXPECT_FALSE(ofFirst.contains(nullptr));
  EXPECT_EQ(ofFirst.sorted({SortDescriptor("code", false)}).front(), goods[0]);

  const RecordSet shops = *region->valueForKey("shops").records();
  const RecordSet joined = shops.distinctUnion("goods");
  EXPECT_EQ(joined.count(), 7U);
  EXPECT_EQ(joined.filtered(Predicate("shop == %@", {second})), goodsOf(*second));
  EXPECT_EQ(joined, RecordSet({first, second}).distinctUnion("goods"));
  EXPECT_EQ(shops.filtered(Predicate("SELF == %@", {second})).distinctUnion("goods"),
            goodsOf(*second));
}

TEST_F(QuestionTest, SetsOfGivenRecords) {
  Record* one = good(1, nullptr);
  Record* two = good(2, nullptr);
  const RecordSet given({two, nullptr, one, two});
  EXPECT_EQ(given.snapshot(), (std::vector<Record*>{one, two}));
  EXPECT_EQ(given.count(), 2U);
  EXPECT_TRUE(given.contains(two));
  EXPECT_EQ(given.filtered(Predicate("code > 1")).snapshot(), std::vector<Record*>{two});
  EXPECT_TRUE(given.filtered(Predicate("code > 1")).contains(two));
  EXPECT_TRUE(given.filtered(Predicate("code > 2")).empty());
  EXPECT_TRUE(RecordSet().filtered(Predicate("code > 1")).empty());
  EXPECT_EQ(RecordSet().sum("code"), Decimal(0));
  // Records of two entities may stand in one set.
  Record* region = context().insertNewObject("Region");
  region->setValueForKey(5, "code");
  EXPECT_EQ(RecordSet({one, region}).filtered(Predicate("code >= 1")).sum("code"), Decimal(6));
}

// As many as are read without a copy of the set, one more, and many more.
TEST_F(QuestionTest, StoredValuesAreReadInTheOrderOfIteration) {
  for (const int count : {0, 3, 64, 65, 600}) {
    SCOPED_TRACE(count);
    Record* where = shop();
    for (int code = 0; code < count; ++code) good(code, where)->setValueForKey(1, "grade");
    const RecordSet even = goodsOf(*where).filtered(Predicate("code < 2 OR code > 60"));
    for (const RecordSet& set : {goodsOf(*where), even, RecordSet(even.snapshot())}) {
      std::vector<Record*> seen;
      RecordSetOf<Record>(set).forEachStored([&](Record& member, const SlotView& values) {
        seen.push_back(&member);
        const Property& code = *values.entity().property("code");
        EXPECT_EQ(Value(values.integer(code.ordinal())), member.valueForKey("code"));
        EXPECT_FALSE(values.isNil(values.entity().property("grade")->ordinal()));
      });
      EXPECT_EQ(seen, set.snapshot());
    }
  }
  RecordSetOf<Record>().forEachStored([](Record&, const SlotView&) { FAIL() << "no members"; });
}

TEST_F(QuestionTest, AWholeRelationshipKnowsWhenItsOwnerIsGone) {
  Record* where = shop();
  good(1, where);
  const RecordSet goods = goodsOf(*where);
  EXPECT_EQ(goods, goodsOf(*where));
  EXPECT_FALSE(goods == goodsOf(*shop()));
  EXPECT_EQ(RecordSet(), goodsOf(*shop())) << "both without members";
  context().rollback();
  EXPECT_THROW(goods.count(), RecordGoneError);
  EXPECT_THROW(goods.first(), RecordGoneError);
  EXPECT_THROW(goods.snapshot(), RecordGoneError);
  EXPECT_THROW(goods.filtered(Predicate("code == 1")).count(), RecordGoneError);
  EXPECT_THROW(RecordSetOf<Record>(goods).forEachStored([](Record&, const SlotView&) {}),
               RecordGoneError);
}

TEST_F(QuestionTest, SumsReadKeysThroughTheirAccessors) {
  Record* where = shop();
  for (int each = 0; each < 6; ++each) {
    Record* record = good(each, where);
    record->setValueForKey(each, "grade");
    record->setValueForKey(Decimal(each) / Decimal(8), "price");
    record->setValueForKey(0.1, "weight");
  }
  goodsOf(*where).first()->setValueForKey(nullptr, "price");
  const RecordSet goods = goodsOf(*where);
  EXPECT_EQ(goods.sum("price"), *Decimal::parse("1.875"));
  EXPECT_EQ(goods.sum("weight"), *Decimal::parse("0.6"));
  EXPECT_EQ(goods.sum("grade"), Decimal(6)) << "the accessor hides odd ones";
  EXPECT_EQ(goods.sum("owner.code"), Decimal(0));
  EXPECT_EQ(goods.sum("shop.goods.@count"), Decimal(36));
  EXPECT_EQ(goods.filtered(Predicate("grade == nil")).count(), 3U);
  EXPECT_EQ(context().count("Good", Predicate("grade == nil")), 0U)
      << "a fetch reads what is stored";
  EXPECT_THROW(goods.sum("made"), ValueKindError);
  EXPECT_THROW(goods.sum("colour"), UndefinedKeyError);
  EXPECT_THROW(goodsOf(*shop()).sum("colour"), UndefinedKeyError) << "also without members";
}

TEST_F(QuestionTest, SortsByKeysAndKeepsTheOrderOfIds) {
  std::vector<Record*> goods;
  goods.reserve(6);
  for (const int code : {3, 1, 2, 1, 3}) goods.push_back(good(code, nullptr));
  goods.push_back(context().insertNewObject("Good"));
  const auto sorted = [&](const std::vector<SortDescriptor>& order) {
    std::vector<Record*> shuffled(goods.rbegin(), goods.rend());
    sortRecords(shuffled, order);
    std::vector<std::size_t> places;
    places.reserve(shuffled.size());
    for (const Record* record : shuffled) places.push_back(record->id() - goods[0]->id());
    return places;
  };
  using Places = std::vector<std::size_t>;
  EXPECT_EQ(sorted({SortDescriptor("code")}), (Places{5, 1, 3, 2, 0, 4}));
  EXPECT_EQ(sorted({SortDescriptor("code", false)}), (Places{0, 4, 2, 1, 3, 5}));
  goods[3]->setValueForKey("b", "title");
  goods[1]->setValueForKey("c", "title");
  EXPECT_EQ(sorted({SortDescriptor("code"), SortDescriptor("title")}), (Places{5, 3, 1, 2, 0, 4}));
  EXPECT_EQ(sorted({SortDescriptor("shop.region.code"), SortDescriptor("title", false)}),
            (Places{1, 3, 0, 2, 4, 5}));
  EXPECT_EQ(sorted({}), (Places{0, 1, 2, 3, 4, 5}));
}

TEST_F(QuestionTest, SortsByComparisonsThatAreNoOrder) {
  std::vector<Record*> goods;
  goods.reserve(37);
  for (int each = 0; each < 37; ++each) goods.push_back(good(each * 7 % 10, nullptr));
  const auto codeOf = [](const Record& record) { return *record.valueForKey("code").integer(); };
  auto stable = goods;
  sortRecordsBy(stable, [&](const Record& a, const Record& b) {
    return static_cast<int>(codeOf(a) - codeOf(b));
  });
  auto expected = goods;
  std::stable_sort(expected.begin(), expected.end(),
                   [&](const Record* a, const Record* b) { return codeOf(*a) < codeOf(*b); });
  EXPECT_EQ(stable, expected);

  const std::vector<RecordComparison> senseless = {
      [](const Record&, const Record&) { return -1; },
      [](const Record&, const Record&) { return 1; },
      [&](const Record& a, const Record& b) { return (codeOf(a) - codeOf(b)) % 3 == 1 ? 1 : -1; }};
  for (const RecordComparison& compare : senseless) {
    auto records = goods;
    sortRecordsBy(records, compare);
    EXPECT_TRUE(std::is_permutation(records.begin(), records.end(), goods.begin(), goods.end()));
  }
  auto untouched = goods;
  EXPECT_THROW(
      sortRecordsBy(untouched,
                    [](const Record&, const Record&) -> int { throw std::runtime_error("no"); }),
      std::runtime_error);
  EXPECT_EQ(untouched, goods);
}

// Codes must keep the order of values, or an index would hide records.
TEST_F(QuestionTest, CodesKeepTheOrderOfValues) {
  const Entity& entity = context().schema().entity("Good");
  const auto inOrder = [&](std::string_view key, const std::vector<Value>& ascending) {
    const Property& property = *entity.property(key);
    Record* record = context().insertNewObject("Good");
    internal::IndexCode last = internal::kNilCode;
    for (const Value& value : ascending) {
      record->setValueForKey(value, key);
      const auto code = internal::codeOf(property, RecordAccess::view(*record));
      EXPECT_EQ(internal::codeOf(property, value), code) << key << value.description();
      EXPECT_GE(code, last) << key << " " << value.description();
      EXPECT_EQ(code == internal::kNilCode, value.isNil());
      last = code;
    }
  };
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  inOrder("code", {nullptr, kLeast, kLeast + 1, kLeast + 2, -1, 0, 1, kMost - 1, kMost});
  inOrder("made", {nullptr, Date::fromMicroseconds(kLeast), Date::fromSeconds(-1), Date(),
                   Date::fromMicroseconds(kMost)});
  inOrder("weight", {nullptr, -std::numeric_limits<double>::infinity(), -1e300, -1.5, -1e-300, -0.0,
                     0.0, 1e-300, 1.5, 1e300, std::numeric_limits<double>::infinity()});
  const Decimal tiny = Decimal::fromParts(1, -128, false);
  const Decimal huge = Decimal::fromParts(1, 127, false);
  inOrder("price", {nullptr, -huge, Decimal(-2), -tiny, Decimal(0), tiny, *Decimal::parse("0.1"),
                    *Decimal::parse("0.10000000000000000000001"), huge});
  const Property& code = *entity.property("code");
  EXPECT_EQ(internal::codeOf(code, Value(*Decimal::parse("1e30"))), internal::kHighestCode);
  EXPECT_EQ(internal::codeOf(code, Value(-1e300)), internal::kLowestCode);
  EXPECT_EQ(internal::codeOf(code, Value("1")), std::nullopt);
}

TEST(SortedBlocksTest, BehavesLikeASet) {
  std::mt19937 random(5);
  internal::SortedBlocks<int, std::less<>> blocks;
  std::set<int> model;
  for (int step = 0; step < 60000; ++step) {
    // It grows, then shrinks to nothing.
    const bool grows = static_cast<int>(random() % 60000) > step;
    const int value = static_cast<int>(random() % 6000);
    if (grows) {
      ASSERT_EQ(blocks.insert(value), model.insert(value).second);
    } else {
      ASSERT_EQ(blocks.erase(value), model.erase(value) == 1);
    }
    ASSERT_EQ(blocks.size(), model.size());
    if (step % 500 != 0) continue;
    std::vector<int> walked;
    for (auto at = blocks.begin(); at != blocks.end(); at = blocks.next(at))
      walked.push_back(blocks[at]);
    ASSERT_TRUE(std::equal(walked.begin(), walked.end(), model.begin(), model.end()));
    const auto from = blocks.partitionPoint([&](int each) { return each < value; });
    const auto found = model.lower_bound(value);
    ASSERT_EQ(from == blocks.end(), found == model.end());
    if (found != model.end()) {
      ASSERT_EQ(blocks[from], *found);
    }
    if (found != model.begin()) {
      ASSERT_EQ(blocks[blocks.previous(from)], *std::prev(found));
    }
  }
}

}  // namespace
}  // namespace bokfolio::test

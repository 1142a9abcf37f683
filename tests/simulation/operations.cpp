#include "tests/simulation/operations.hpp"

#include <algorithm>
#include <numeric>
#include <random>

#include "tests/simulation/work.hpp"

namespace bokfolio::simulation {

namespace {

constexpr unsigned kAny = 1000;        // chooses among whatever there is
constexpr unsigned kAmount = 100'000;  // öre
constexpr unsigned kDay = 8000;

template <Changing* kWork>
void changing(Life& life, const Step& step) {
  life.change([&](Desk& desk, PlainFirm& plain) { return kWork(desk, plain, step); });
}
template <void (Life::*kDo)()>
void plainly(Life& life, const Step&) {
  (life.*kDo)();
}

void save(Life& life, const Step& step) { life.save(step[0] != 0); }
void release(Life& life, const Step&) { life.desk().release(); }
void pass(Life& life, const Step& step) {
  life.desk().world.clock->advance(static_cast<std::int64_t>(step[0]) * 86'400'000'000);
}
void ask(Life& life, const Step& step) { askBalance(life.desk(), life.plain(), step); }
void audit(Life& life, const Step& step) {
  if (step[0] != 1) auditLedger(life.desk(), life.plain());
  if (step[0] != 0) auditInvoicing(life.desk(), life.plain());
}
void question(Life& life, const Step& step) { askQuestion(life.desk(), life.plain(), step); }
void unreadable(Life& life, const Step& step) {
  askWhileUnreadable(life.desk(), life.plain(), step);
}
void observe(Life& life, const Step& step) { life.observe(step[0], step[1]); }
void away(Life& life, const Step& step) {
  life.changeWithoutPlugin(
      [&](Desk& desk, PlainFirm& plain) { return addPending(desk, plain, step); });
}
void awayDrop(Life& life, const Step& step) {
  life.changeWithoutPlugin(
      [&](Desk& desk, PlainFirm& plain) { return dropWhileAway(desk, plain, step); });
}
void pastUndo(Life& life, const Step& step) { life.linkPastUndo(step[0]); }
void inverses(Life& life, const Step&) { auditInverses(life.desk()); }
void verify(Life& life, const Step&) { life.desk().verify(); }

std::vector<Operation> makeOperations() {
  return {
      {"account", 40, {{"type", 5}}, changing<addAccount>},
      {"renumber", 15, {{"account", kAny}, {"agreed", 2}}, changing<renumberAccount>},
      {"retype", 15, {{"account", kAny}, {"type", 5}}, changing<retypeAccount>},
      {"dropaccount", 10, {{"account", kAny}}, changing<dropAccount>},
      {"tag", 10, {}, changing<addTag>},
      {"droptag", 4, {{"tag", kAny}}, changing<dropTag>},
      {"year", 20, {{"which", 10}}, changing<addYear>},
      {"dropyear", 4, {{"year", kAny}}, changing<dropYear>},
      {"overlap",
       6,
       {{"year", kAny}, {"account", kAny}, {"amount", kAmount}, {"day", kDay}},
       changing<overlapYears>},
      {"opening",
       20,
       {{"account", kAny}, {"year", kAny}, {"amount", kAmount}},
       changing<setOpening>},
      {"carry", 15, {{"year", kAny}}, changing<carryForward>},
      {"budget", 10, {{"account", kAny}, {"year", kAny}, {"amount", kAmount}}, changing<setBudget>},
      {"note", 8, {{"account", kAny}}, changing<noteAccount>},

      {"book",
       150,
       {{"rows", 3}, {"account", kAny}, {"amount", kAmount}, {"day", kDay}, {"tag", kAny}},
       changing<book>},
      {"compose",
       60,
       {{"rows", 3}, {"account", kAny}, {"amount", kAmount}, {"day", kDay}, {"tag", kAny}},
       changing<compose>},
      {"loose", 8, {{"account", kAny}, {"amount", kAmount}}, changing<addLooseRow>},
      {"clear", 8, {}, changing<clearRows>},
      {"copy", 10, {{"entry", kAny}}, changing<copyRows>},
      {"file", 20, {}, changing<fileNewEntry>},
      {"pending",
       60,
       {{"account", kAny}, {"amount", kAmount}, {"day", kDay}},
       changing<addPending>},
      {"correct", 40, {{"entry", kAny}, {"row", kAny}, {"account", kAny}}, changing<correctRow>},
      {"adjust", 25, {{"entry", kAny}, {"amount", kAmount}}, changing<adjustRows>},
      {"unbalance", 8, {{"entry", kAny}, {"row", kAny}, {"amount", kAmount}}, changing<unbalance>},
      {"move", 25, {{"entry", kAny}, {"day", kDay}}, changing<moveEntry>},
      {"tagrow", 20, {{"entry", kAny}, {"row", kAny}, {"tag", 6}}, changing<tagRow>},
      {"moverow", 20, {{"entry", kAny}, {"row", kAny}, {"account", kAny}}, changing<moveRow>},
      {"droppending", 8, {{"entry", kAny}}, changing<dropPending>},
      {"badsave", 5, {{"account", kAny}, {"amount", kAmount}}, changing<saveUnbalanced>},

      {"article", 20, {{"price", kAmount}, {"rate", 4}, {"accounts", 8}}, changing<addArticle>},
      {"price", 10, {{"article", kAny}, {"price", kAmount}}, changing<priceArticle>},
      {"droparticle", 5, {{"article", kAny}}, changing<dropArticle>},
      {"invoice",
       80,
       {{"article", kAny}, {"quantity", 12}, {"kind", 48}, {"late", 3}},
       changing<addInvoice>},
      {"line", 40, {{"invoice", kAny}, {"article", kAny}, {"quantity", 12}}, changing<addLine>},
      {"dropline", 8, {{"invoice", kAny}, {"line", kAny}}, changing<dropLine>},
      {"rebateline",
       15,
       {{"invoice", kAny}, {"line", kAny}, {"kind", 4}, {"value", 40}},
       changing<rebateLine>},
      {"rebate", 20, {{"invoice", kAny}, {"kind", 4}, {"value", 40}}, changing<rebateInvoice>},
      {"taginvoice", 8, {{"invoice", kAny}, {"tag", kAny}}, changing<tagInvoice>},
      {"dateinvoice", 15, {{"invoice", kAny}, {"day", kDay}}, changing<dateInvoice>},
      {"duplicate", 10, {{"invoice", kAny}}, changing<duplicateInvoice>},
      {"dropinvoice", 8, {{"invoice", kAny}}, changing<dropInvoice>},
      {"settings", 8, {{"automatic", 5}, {"once", 3}, {"days", 4}}, changing<changeSettings>},
      {"send", 100, {{"invoice", kAny}, {"rate", 3}}, changing<sendInvoice>},
      {"remind", 15, {{"invoice", kAny}}, changing<remindInvoice>},
      {"pay", 90, {{"invoice", kAny}, {"share", 105}, {"full", 2}}, changing<payInvoice>},
      {"return", 15, {{"invoice", kAny}, {"bank", 8}}, changing<returnInvoice>},
      {"lose", 15, {{"invoice", kAny}, {"any", 8}}, changing<loseInvoice>},
      {"bill", 30, {{"lines", kAny}, {"amount", kAmount}, {"tag", kAny}}, changing<addBill>},
      {"bookbill", 40, {{"bill", kAny}}, changing<bookBill>},
      {"paybill", 30, {{"bill", kAny}}, changing<payBill>},
      {"dropbill", 4, {{"bill", kAny}}, changing<dropBill>},

      {"undo", 40, {}, plainly<&Life::undo>},
      {"redo", 30, {}, plainly<&Life::redo>},
      {"rollback", 3, {}, plainly<&Life::rollback>},
      {"save", 35, {{"reopened", 2}}, save},
      {"failsave", 8, {}, plainly<&Life::failToSave>},
      {"abandon", 2, {}, plainly<&Life::abandon>},
      {"join", 20, {}, plainly<&Life::join>},
      {"unrecorded", 3, {}, plainly<&Life::changeUnrecorded>},
      {"release", 20, {}, release},
      {"pass", 25, {{"days", 40}}, pass},
      {"ask", 200, {{"account", kAny}, {"year", kAny}, {"day", kDay}, {"tag", kAny}}, ask},
      {"question", 200, {{"kind", 15}, {"which", kAny}}, question},
      {"failread", 10, {{"kind", 15}, {"which", kAny}, {"records", 9}}, unreadable},
      {"observe", 8, {{"kind", 3}, {"which", kAny}}, observe},
      {"away", 2, {{"account", kAny}, {"amount", kAmount}, {"day", kDay}}, away},
      {"awaydrop", 3, {{"which", kAny}, {"kind", 3}}, awayDrop},
      {"pastundo", 8, {{"which", kAny}}, pastUndo},
      {"audit", 12, {{"part", 3}}, audit},
      {"inverses", 3, {}, inverses},
      {"verify", 4, {}, verify},
      {"dump", 15, {}, plainly<&Life::compareDump>},
  };
}

}  // namespace

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all = makeOperations();
  return all;
}

Script generate(std::uint64_t seed, std::size_t steps) {
  std::mt19937_64 random(seed);
  // Not the library's distributions, whose numbers differ between implementations.
  const auto below = [&random](std::uint64_t bound) { return random() % bound; };
  constexpr std::uint64_t kPreferences[] = {0, 1, 1, 1, 4};
  // Half of the firms begin with what selling needs.
  static const char* const kBeginnings[] = {
      "",
      "account type=2\naccount type=4\ntag\ntag\narticle price=100 accounts=1\n"
      "article price=2001 accounts=2\narticle price=30 rate=3 accounts=1\nsave\n"};
  const auto& all = operations();
  std::vector<std::uint64_t> reach;
  std::uint64_t total = 0;
  for (const Operation& operation : all) {
    // The few that everything else stands on are never left out.
    const std::uint64_t preference = operation.weight >= 60 ? 1 : kPreferences[below(5)];
    total += static_cast<std::uint64_t>(operation.weight) * preference;
    reach.push_back(total);
  }
  Script script = parseScript(kBeginnings[below(2)]);
  script.sqlite = below(4) == 0;
  while (script.steps.size() < steps) {
    Step step;
    const auto at = std::upper_bound(reach.begin(), reach.end(), below(total));
    step.operation = static_cast<std::size_t>(at - reach.begin());
    const auto& arguments = all[step.operation].arguments;
    for (std::size_t i = 0; i < arguments.size(); ++i)
      step.arguments[i] = static_cast<unsigned>(below(arguments[i].bound));
    script.steps.push_back(step);
  }
  return script;
}

}  // namespace bokfolio::simulation

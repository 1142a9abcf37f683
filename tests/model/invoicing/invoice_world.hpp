// InvoiceWorld: a LedgerWorld with a book in Swedish crowns, and short words for invoices.
#pragma once

#include <map>
#include <string>

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/company.hpp"
#include "bokfolio/model/invoicing/credit_details.hpp"
#include "bokfolio/model/invoicing/delivery_address.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "tests/model/ledger/ledger_world.hpp"
#include "tests/model/ledger/watch.hpp"

namespace bokfolio::test {

// nil for "-".
inline std::optional<Decimal> maybe(std::string_view text) {
  return text == "-" ? std::nullopt : std::optional(dec(text));
}

class InvoiceWorld : public LedgerWorld {
 protected:
  InvoiceWorld() {
    book = context().insert<Book>();
    book->setCurrency("SEK");
    book->setCompany(context().insert<Company>());
    book->company()->setCountry("se");
  }

  // In the book's currency; its defaults are still to come.
  Invoice* invoice() {
    auto* made = context().insert<Invoice>();
    made->setBook(book);
    made->setCurrency("SEK");
    return made;
  }
  Invoice* numbered(std::int64_t number) {
    Invoice* made = invoice();
    made->setNumber(number);
    return made;
  }
  void passDefaultsDelay() { world.runLoop->advance(10'000); }

  Article* article(const std::optional<std::string>& number, const std::optional<Decimal>& vat = 25,
                   const std::optional<Decimal>& price = 100) {
    auto* made = context().insert<Article>();
    made->setNumber(number);
    made->setVat(vat);
    made->setPrice(price);
    return made;
  }
  // The one article of each rate.
  Article* articleAt(const Decimal& vat) {
    Article*& found = articles_[vat];
    if (found == nullptr) found = article("R" + vat.toString(), vat);
    return found;
  }
  // A line with an article of the same rate; no article without a rate.
  InvoiceLine* line(Invoice* of, const std::optional<Decimal>& quantity,
                    const std::optional<Decimal>& price, const std::optional<Decimal>& vat = 25) {
    auto* made = context().insert<InvoiceLine>();
    made->setQuantity(quantity);
    made->setPrice(price);
    made->setVat(vat);
    if (vat) made->setArticle(articleAt(*vat));
    made->setInvoice(of);
    return made;
  }
  // "10%" or "50"; none for "".
  Allowance* rebate(std::string text) {
    if (text.empty()) return nullptr;
    auto* made = context().insert<Allowance>();
    made->setAbsolute(text.back() != '%');
    if (text.back() == '%') text.pop_back();
    made->setValue(dec(text));
    return made;
  }

  Book* book;

 private:
  std::map<Decimal, Article*> articles_;
};

}  // namespace bokfolio::test

#include "bokfolio/model/standard_model.hpp"

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/company.hpp"
#include "bokfolio/model/invoicing/credit_details.hpp"
#include "bokfolio/model/invoicing/delivery_address.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/entry_image.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"

namespace bokfolio {

Model standardModel() {
  Model model;
  model.add(Account::table())
      .add(Row::table())
      .add(Entry::table())
      .add(EntryImage::table())
      .add(FiscalYear::table())
      .add(StartingBalance::table())
      .add(Tag::table())
      .add(Book::table());
  model.add(Company::table())
      .add(DeliveryAddress::table())
      .add(CreditDetails::table())
      .add(Article::table())
      .add(Allowance::table())
      .add(Invoice::table())
      .add(InvoiceLine::table());
  model.add(SupplierInvoice::table()).add(SupplierInvoiceLine::table());
  return model;
}

}  // namespace bokfolio

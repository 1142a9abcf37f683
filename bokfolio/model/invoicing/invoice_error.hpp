// The codes of the errors in an invoice's life. Each names what refused, so that a host can decide
// by code; the words for the user are in the error's description, localised. Of
// kBokfolioErrorDomain. What a refused operation had changed by then, it leaves: the host rolls
// back.
#pragma once

namespace bokfolio {

enum class InvoiceError : int {
  NoLines = 5,                    // nothing to send
  NoSalesEntry = 10,              // the entry to reverse is not found by its name
  NoCurrencyAccounts = 11,        // the book lacks the one for exchange gains or for losses
  AccountSettingsMissing = 12,    // the sale could not be booked when it was paid
  ReceivableMissingForPay = 13,   // the book lacks accounts receivable: for a payment
  LossRefused = 14,               // returned, lost or paid already
  NoReceivableRow = 15,           // the sales entry has none, or several
  ReturnRefused = 16,             // lost or returned already
  NotTheAmountOwed = 17,          // paid too much, or too little for a payment in full
  SaleNotBookable = 18,           // an account is missing to book the sale when it is sent
  ReceivableMissingForSale = 20,  // the book lacks accounts receivable: for sending
};

}  // namespace bokfolio

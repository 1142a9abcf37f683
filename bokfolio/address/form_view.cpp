#include "bokfolio/address/form_view.hpp"

namespace bokfolio {

FormView::~FormView() = default;

FormView& FormView::animator() { return *this; }

FormView* viewWithTag(FormView& view, std::int32_t tag) {
  std::vector<FormView*> ahead{&view};
  while (!ahead.empty()) {
    FormView* next = ahead.back();
    ahead.pop_back();
    if (next->tag() == tag) return next;
    const std::vector<FormView*> inside = next->subviews();
    ahead.insert(ahead.end(), inside.rbegin(), inside.rend());
  }
  return nullptr;
}

PlainView::PlainView(std::int32_t tag, const ViewFrame& frame, Kind kind)
    : tag_(tag), frame_(frame), kind_(kind) {}

PlainView::~PlainView() = default;

std::vector<FormView*> PlainView::subviews() {
  std::vector<FormView*> views;
  views.reserve(subviews_.size());
  for (const auto& view : subviews_) views.push_back(view.get());
  return views;
}

}  // namespace bokfolio

// FormView: what the layout of address forms needs of a user interface: views with a tag, a frame
// and subviews, that can be hidden. A host whose toolkit has views of its own wraps them in it;
// PlainView is a view that is nothing more, for hosts that draw by themselves and for tests.
//
// Coordinates are those of the form, in points, and y grows upward: a view with a greater y stands
// higher. They are 32-bit floats, so that a layout gives the same numbers in every host.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

// Lower left corner and size.
struct ViewFrame {
  float x = 0;
  float y = 0;
  float width = 0;
  float height = 0;
  friend bool operator==(const ViewFrame&, const ViewFrame&) = default;
};

class BOKFOLIO_EXPORT FormView {
 public:
  virtual ~FormView();

  // The number by which a form marks a view; several views may have the same.
  virtual std::int32_t tag() const = 0;
  // As it is set, also while an animation is still on the way there.
  virtual ViewFrame frame() const = 0;
  virtual void setFrame(const ViewFrame& frame) = 0;
  virtual bool isHidden() const = 0;
  virtual void setHidden(bool hidden) = 0;
  // A pop-up button is drawn with a margin inside its frame, which layouts make up for.
  virtual bool isPopUpButton() const = 0;
  // The views directly inside, in any order that stays. Owned by the view.
  virtual std::vector<FormView*> subviews() = 0;
  // What takes changes that the user shall see happen; the view itself when nothing is animated. It
  // must last as long as the view.
  virtual FormView& animator();
};

// The view with that tag among the view itself and all that is inside it, looked through in depth
// and in the order of subviews; nullptr when there is none.
BOKFOLIO_EXPORT FormView* viewWithTag(FormView& view, std::int32_t tag);

class BOKFOLIO_EXPORT PlainView : public FormView {
 public:
  enum class Kind : std::uint8_t { Plain, PopUpButton };

  explicit PlainView(std::int32_t tag, const ViewFrame& frame = {}, Kind kind = Kind::Plain);
  ~PlainView() override;

  // Takes the view in as the last one and answers it.
  template <class View>
  View& addSubview(std::unique_ptr<View> view) {
    View& added = *view;
    subviews_.push_back(std::move(view));
    return added;
  }

  std::int32_t tag() const override { return tag_; }
  ViewFrame frame() const override { return frame_; }
  void setFrame(const ViewFrame& frame) override { frame_ = frame; }
  bool isHidden() const override { return hidden_; }
  void setHidden(bool hidden) override { hidden_ = hidden; }
  bool isPopUpButton() const override { return kind_ == Kind::PopUpButton; }
  std::vector<FormView*> subviews() override;

 private:
  std::int32_t tag_;
  ViewFrame frame_;
  Kind kind_;
  bool hidden_ = false;
  std::vector<std::unique_ptr<FormView>> subviews_;
};

}  // namespace bokfolio

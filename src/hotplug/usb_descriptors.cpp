#include "hotplug/usb_descriptors.h"

#include <algorithm>

DescriptorBytes descriptorBytes(const std::string& content) {
  return {reinterpret_cast<const std::uint8_t*>(content.data()), content.size()};
}

DescriptorWalk::Iterator::Iterator(DescriptorBytes data, std::uint8_t type, std::size_t lastField)
    : rest_(data), type_(type), lastField_(lastField) {
  findMatch();
}

DescriptorWalk::Iterator& DescriptorWalk::Iterator::operator++() {
  step();
  findMatch();
  return *this;
}

bool DescriptorWalk::Iterator::isAtDescriptor() const {
  return rest_.size() > bDescriptorType && rest_[bLength] > 0;
}

// The last descriptor may claim more bytes than there are.
void DescriptorWalk::Iterator::step() {
  rest_ = rest_.subspan(std::min<std::size_t>(rest_[bLength], rest_.size()));
}

void DescriptorWalk::Iterator::findMatch() {
  while (isAtDescriptor() && rest_[bDescriptorType] != type_) {
    step();
  }
  if (!isAtDescriptor() || rest_.size() <= lastField_) {
    rest_ = {};
  }
}

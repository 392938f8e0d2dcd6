#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <string>

/*
 * USB descriptors as the kernel shows them in a device's "descriptors" file: the device descriptor, then
 * configurations with their interfaces, endpoints and class-specific descriptors, one after another. A field
 * is named by its offset, as USB 2.0 names it; every field used here is a single byte.
 */

using DescriptorBytes = std::span<const std::uint8_t>;

/** The bytes of a text read from a file; it must outlive them. */
DescriptorBytes descriptorBytes(const std::string& content);

/** Every descriptor (USB 2.0, 9.5). */
inline constexpr std::size_t bLength = 0;
inline constexpr std::size_t bDescriptorType = 1;

/** Values of bDescriptorType (USB 2.0, table 9-5). */
inline constexpr std::uint8_t deviceDescriptorType = 1;
inline constexpr std::uint8_t interfaceDescriptorType = 4;
inline constexpr std::uint8_t endpointDescriptorType = 5;

/** The device descriptor (USB 2.0, table 9-8): the first 18 bytes of a "descriptors" file. */
using UsbDeviceDescriptor = std::span<const std::uint8_t, 18>;
inline constexpr std::size_t bDeviceClass = 4;
inline constexpr std::size_t bNumConfigurations = 17;

/** Interface descriptors (USB 2.0, table 9-12). */
inline constexpr std::size_t bInterfaceClass = 5;
inline constexpr std::size_t bInterfaceSubClass = 6;
inline constexpr std::size_t bInterfaceProtocol = 7;

/** Endpoint descriptors (USB 2.0, table 9-13). */
inline constexpr std::size_t bmAttributes = 3;
inline constexpr std::uint8_t transferTypeBits = 0x03;  // of bmAttributes
inline constexpr std::uint8_t isochronousTransfer = 1;

/** Class codes of devices and interfaces, assigned by the USB-IF. */
inline constexpr std::uint8_t classPerInterface = 0x00;
inline constexpr std::uint8_t hidClass = 0x03;
inline constexpr std::uint8_t massStorageClass = 0x08;
inline constexpr std::uint8_t hubClass = 0x09;
inline constexpr std::uint8_t smartcardClass = 0x0B;

/**
 * The descriptors of one type in `data`, in order, as an input range. Each is given as the bytes from its
 * start to the end of the data, not to its bLength. It has at least the fields up to `lastField`.
 *
 * The walk ends at the end of the data, at a descriptor of bLength 0, and at one of `type` whose fields are
 * cut short. The data must outlive the walk.
 */
class DescriptorWalk {
 public:
  class Iterator {
   public:
    using value_type = DescriptorBytes;
    using difference_type = std::ptrdiff_t;

    Iterator(DescriptorBytes data, std::uint8_t type, std::size_t lastField);

    DescriptorBytes operator*() const { return rest_; }
    Iterator& operator++();
    void operator++(int) { ++*this; }
    bool operator==(std::default_sentinel_t /*end*/) const { return rest_.empty(); }

   private:
    [[nodiscard]] bool isAtDescriptor() const;
    void step();
    void findMatch();

    DescriptorBytes rest_;  // from the current descriptor to the end; empty at the end of the walk
    std::uint8_t type_;
    std::size_t lastField_;
  };

  DescriptorWalk(DescriptorBytes data, std::uint8_t type, std::size_t lastField)
      : data_(data), type_(type), lastField_(lastField) {}

  [[nodiscard]] Iterator begin() const { return {data_, type_, lastField_}; }
  [[nodiscard]] static std::default_sentinel_t end() { return std::default_sentinel; }

 private:
  DescriptorBytes data_;
  std::uint8_t type_;
  std::size_t lastField_;
};

#pragma once

#include <array>
#include <cstddef>
#include <string>

/** A device's "descriptors" file as a kernel showed it, and what is known of the device. */
struct Recording {
  const char* name;
  const char* hex;
  /** How many bytes of the file must be there until the device is known not to be a keyboard; 0: it is one.
   */
  std::size_t noKeyboardFrom;
  /** The lengths of the file, from the first up to and without the second, at which it is a disk. */
  std::size_t diskFrom;
  std::size_t diskUntil;
};

inline constexpr std::size_t deviceDescriptorSize = 18;
inline constexpr std::size_t never = 0;
inline constexpr std::size_t toTheEnd = static_cast<std::size_t>(-1);

/** A first interface has its class codes complete after this many bytes. */
inline constexpr std::size_t firstInterface = 35;

inline constexpr std::array recordings{
    Recording{"keyboard, full speed",
              "120100020000000827060100000001040b0109022200010108a032090400000103010100092111010001223f000705"
              "810308000a",
              never, never, never},
    Recording{"keyboard without boot protocol",
              "120110010000004009120401000101020001090222000101008032090400000103000100092111010001223f000705"
              "810308000a",
              never, never, never},
    Recording{"two keyboards in one",
              "12011001000000400912030100010102000109023b000201008032090400000103010100092111010001223f000705"
              "810308000a090401000103000100092111010001223f000705820308000a",
              never, never, never},
    Recording{"no interfaces", "120110010000004009120f01000101020001090209000001008032", never, never, never},
    Recording{"keyboard of the class of composite devices",
              "12011001ef02014009120701000101020001090222000101008032090400000103010100092111010001223f000705"
              "810308000a",
              deviceDescriptorSize, never, never},
    Recording{"keyboard and mouse",
              "12011001000000400912020100010102000109023b000201008032090400000103010100092111010001223f000705"
              "810308000a0904010001030102000921110100012232000705820308000a",
              60, never, never},
    Recording{"mouse",
              "12010002000000082706010000000102090109022200010106a0320904000001030102000921010000012234000705"
              "810304000a",
              firstInterface, never, never},
    Recording{"disk, super speed",
              "1201000300000009f446010000000102030109022c00010106c0000904000002080650000705810200040006300f00"
              "00000705020200040006300f000000",
              firstInterface, firstInterface, toTheEnd},
    Recording{"disk, full speed",
              "1201000200000008f446010000000102030109022000010104c0000904000002080650000705810240000007050202"
              "400000",
              firstInterface, firstInterface, toTheEnd},
    Recording{"disk with ATAPI commands",
              "120110010000004009120b010001010200010902200001010080320904000002080250000705810240000007050202"
              "400000",
              firstInterface, firstInterface, toTheEnd},
    Recording{"disk with an alternate setting",
              "1201000200000040091209010001010200010902370001010080320904000002080650000705810200020007050202"
              "0002000904000102080650000705810200020007050202000200",
              firstInterface, firstInterface, 58},
    Recording{"disk with commands of another set",
              "120110010000004009120c010001010200010902200001010080320904000002080550000705810240000007050202"
              "400000",
              firstInterface, never, never},
    Recording{"disk with two configurations",
              "120100020000004009120a010001010200020902200001010080320904000002080650000705810200020007050202"
              "0002000902200001020080320904000002080650000705810200020007050202000200",
              firstInterface, never, never},
    Recording{"disk with streams",
              "1201000200000040f446030000000102030109023e00010104c0000904000004080662000705010200020004240100"
              "070582020002000424020007058302000200042403000705040200020004240400",
              firstInterface, never, never},
    Recording{"card reader and disk",
              "12011001000000400912080100010102000109023000020100803209040000010b0000000705820308000a09040100"
              "02080650000705810240000007050202400000",
              firstInterface, never, never},
    Recording{
        "speaker",
        "1201000100000040f446020000000102030109027100020104c03209040000000101040509240100012b0001010c24"
        "020101010002030000060d24060201020100020002000709240303010300020809040100000102000909040101010102"
        "000a072401010001000b2402010202100180bb000905010dc00001000007250100000000",
        firstInterface, never, never},
    Recording{"hub", "12011001090000080904aa5501010102030109021900010100e000090400000109000000070581030200ff",
              deviceDescriptorSize, never, never},
};

/** The bytes of a text of hexadecimal digits. */
inline std::string bytesOf(const std::string& hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

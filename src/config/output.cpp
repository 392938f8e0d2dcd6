#include "config/output.h"

#include <cstdio>
#include <cstring>

#include "config/entries.h"

namespace {

const char* textOf(const ConfigDictionary* d, const char* key) {
  return iniparser_getstring(d, key, nullptr);
}

const char* orEmpty(const char* value) {
  return value == nullptr ? "" : value;
}

void printJsonSection(const char* name, bool isFirst) {
  std::printf("%s\t\"%s\": {\n", isFirst ? "" : "\n\t},\n", name);
}

void printJsonSetting(const char* name, const char* value, bool followsSection) {
  std::printf("%s\t\t\"%s\":\"%s\"", followsSection ? "" : ",\n", name, orEmpty(value));
}

}  // namespace

int configPrint(const ConfigDictionary* d) {
  if (d == nullptr) {
    return -1;
  }
  iniparser_dump_ini(d, stdout);
  return 0;
}

int configDiff(const ConfigDictionary* older, const ConfigDictionary* newer) {
  if (older == nullptr || newer == nullptr) {
    return -1;
  }
  forEachEntry(older, [newer](const char* key, const char* oldValue) {
    const char* newValue = textOf(newer, key);
    if (oldValue == nullptr) {
      return;
    }
    if (newValue == nullptr) {
      std::printf("- %s [%s:]\n", key, oldValue);
    } else if (std::strcmp(oldValue, newValue) != 0) {
      std::printf("c %s [%s:%s]\n", key, oldValue, newValue);
    }
  });
  forEachEntry(newer, [older](const char* key, const char* newValue) {
    if (newValue != nullptr && textOf(older, key) == nullptr) {
      std::printf("+ %s [:%s]\n", key, newValue);
    }
  });
  return 0;
}

int configPrintJson(const ConfigDictionary* d) {
  if (d == nullptr) {
    return -1;
  }
  std::printf("{\n");
  bool isFirstSection = true;
  bool followsSection = false;
  forEachEntry(d, [&isFirstSection, &followsSection](const char* key, const char* value) {
    const char* colon = std::strchr(key, ':');
    if (colon == nullptr) {
      printJsonSection(key, isFirstSection);
      isFirstSection = false;
    } else {
      printJsonSetting(colon + 1, value, followsSection);
    }
    followsSection = colon == nullptr;
  });
  std::printf("\n\t}\n}\n");
  return 0;
}

int configPrintSed(const ConfigDictionary* d) {
  if (d == nullptr) {
    return -1;
  }
  forEachEntry(d, [](const char* key, const char* value) {
    if (std::strchr(key, ':') != nullptr) {
      std::printf("s!\\$%s\\$!%s!g\n", key, orEmpty(value));
    }
  });
  std::printf("\n");
  return 0;
}

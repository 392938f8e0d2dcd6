#include "tools/explain/failure_text.h"

#include <exception>

#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"

namespace explain {

namespace {

std::string withoutLineEnd(std::string text) {
  while (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

}  // namespace

std::string failureText() {
  try {
    throw;
  } catch (const ulx::FileDescriptor::EndOfFile&) {
    return "EOF, fewer bytes than a device descriptor has";
  } catch (const ulx::Exception& failure) {
    return withoutLineEnd(failure.text());
  } catch (const std::exception& failure) {
    return failure.what();
  } catch (const char* text) {
    return text;
  } catch (...) {
    return "unknown failure";
  }
}

}  // namespace explain

#include "compare/Log.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <exception>
#include <string_view>
#include <typeinfo>

#include "nex/nex_SystemErrorException.h"

namespace {

// A class's name without its length, which both compilers put in front.
std::string ClassName(const std::type_info& type) {
  const std::string_view name = type.name();
  return std::string(
      name.substr(std::min(name.find_first_not_of("0123456789"), name.size())));
}

char Folded(char c) {
  return c == '\\' ? '/' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// Whether `text` goes on with `name` at `at`, whatever its letter case and separators.
bool StandsAt(std::string_view text, std::size_t at, std::string_view name) {
  return text.size() - at >= name.size() &&
         std::equal(name.begin(), name.end(),
                    text.begin() + static_cast<std::ptrdiff_t>(at),
                    [](char a, char b) { return Folded(a) == Folded(b); });
}

}  // namespace

std::string Log::ShownException() {
  try {
    throw;
  } catch (const nex_SystemErrorException& thrown) {
    const omi_SystemErrorCode error = thrown.ErrorCode();
    return ClassName(typeid(thrown)) + " " + ShownAll(error.Kind(), error.Code()) + " " +
           Shown(thrown.DeveloperReport().c_str());
  } catch (const nex_Exception& thrown) {
    return ClassName(typeid(thrown)) + " " + Shown(thrown.DeveloperReport().c_str());
  } catch (const std::exception& thrown) {
    return ClassName(typeid(thrown)) + " " + Shown(thrown.what());
  } catch (...) {
    return "an unknown exception";
  }
}

void Log::WriteCall(const char* name, const std::string& inputs) const {
  std::printf("@%lld %s %s\n", index_, name, Masked(inputs).c_str());
  std::fflush(stdout);
}

void Log::WriteResult(const std::string& result) const {
  std::printf("= %s\n", Masked(result).c_str());
}

std::string Log::Masked(const std::string& text) const {
  constexpr std::string_view kTemporary = "KstTempFile";
  constexpr std::size_t kDigits = 5;
  std::string masked;
  for (std::size_t at = 0; at < text.size();) {
    if (!directory_.empty() && StandsAt(text, at, directory_)) {
      masked += "<dir>";
      at += directory_.size();
    } else if (StandsAt(text, at, kTemporary) &&
               text.size() - at > kTemporary.size() + kDigits) {
      masked += text.substr(at, kTemporary.size() + 1) + "NNNNN";
      at += kTemporary.size() + 1 + kDigits;
    } else {
      masked += text[at++];
    }
  }
  return masked;
}

#include "Error.h"

namespace kvo {

Error::Error(int32_t number, std::string source, std::string description)
    : std::runtime_error(source + ": " + description + " (error " + std::to_string(number) + ")"),
      number_(number),
      source_(std::move(source)),
      description_(std::move(description)) {}

}  // namespace kvo

#pragma once

#include <exception>
#include <string>
#include <utility>

namespace quillon {

/// A run-time failure, as the run-error box shows it: number and description. The numbers never change, so
/// that a technician can find them in the manual or report them by phone. The description contains what
/// failed, on which file, port or box, and what the operator can do.
class RunError : public std::exception {
 public:
  enum Number {
    kOverflow = 6,
    kOutOfMemory = 7,
    kSubscriptOutOfRange = 9,
    kTypeMismatch = 13,
    kBadFileName = 52,
    kFileNotFound = 53,
    kDeviceInputOutput = 57,
    kDiskFull = 61,
    kInputPastEnd = 62,
    kPermissionDenied = 70,
    kFileAccess = 75,
    kPathNotFound = 76,
    kInvalidPropertyValue = 380,
    kTextNotInList = 383,
    kInvalidPort = 8002,
    kPortAlreadyOpen = 8005,
    kPortNotOpen = 8018,
    kDeviceFailed = 8020,
  };

  RunError(Number error, std::string text) : number(error), description(std::move(text)) {}

  const char* what() const noexcept override { return description.c_str(); }

  int number;
  std::string description;
};

}  // namespace quillon

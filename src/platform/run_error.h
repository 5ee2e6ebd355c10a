#pragma once

#include <exception>
#include <string>
#include <utility>

namespace quillon {

/// A failure at run time: what a step of the program could not do, in the words that the operator reads.
///
/// Each kind of failure has a number that never changes, so that a technician can look it up in the manual or
/// quote it on the phone. The description names the thing and the way out.
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

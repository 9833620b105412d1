// The system's error numbers that no port names, for every stand-in for it.
#pragma once

#include <cstdint>

namespace orsin::platform {

constexpr std::uint32_t kErrorFileNotFound = 2;
constexpr std::uint32_t kErrorAccessDenied = 5;
constexpr std::uint32_t kErrorInvalidHandle = 6;
constexpr std::uint32_t kErrorNotEnoughMemory = 8;
constexpr std::uint32_t kErrorNotReady = 21;
constexpr std::uint32_t kErrorChecksum = 23;
constexpr std::uint32_t kErrorNotSupported = 50;
constexpr std::uint32_t kErrorNetworkNameGone = 64;
constexpr std::uint32_t kErrorDiskFull = 112;
constexpr std::uint32_t kErrorInsufficientBuffer = 122;
constexpr std::uint32_t kErrorDirectoryNotEmpty = 145;
constexpr std::uint32_t kErrorNotLocked = 158;
constexpr std::uint32_t kErrorNoSuchMessage = 317;
constexpr std::uint32_t kErrorInvalidAddress = 487;
constexpr std::uint32_t kErrorAborted = 995;
constexpr std::uint32_t kErrorDevice = 1117;
constexpr std::uint32_t kErrorNoSystemResources = 1450;
constexpr std::uint32_t kErrorWorkingSetQuota = 1453;
constexpr std::uint32_t kErrorCommitmentLimit = 1455;
constexpr std::uint32_t kErrorInvalidOperation = 4317;

// How both libraries of the network say that it failed, and what was wrong with a handle of theirs.
constexpr std::uint32_t kErrorOutOfHandles = 12001;
constexpr std::uint32_t kErrorTimeout = 12002;
constexpr std::uint32_t kErrorInvalidUrl = 12005;
constexpr std::uint32_t kErrorNameNotResolved = 12007;
constexpr std::uint32_t kErrorInvalidOption = 12009;
constexpr std::uint32_t kErrorIncorrectHandleType = 12018;
constexpr std::uint32_t kErrorIncorrectHandleState = 12019;
constexpr std::uint32_t kErrorCannotConnect = 12029;
constexpr std::uint32_t kErrorConnectionAborted = 12030;
constexpr std::uint32_t kErrorConnectionReset = 12031;
constexpr std::uint32_t kErrorHeaderNotFound = 12150;
constexpr std::uint32_t kErrorInvalidServerResponse = 12152;

}  // namespace orsin::platform

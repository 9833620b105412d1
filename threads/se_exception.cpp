// The exception that carries a processor fault: a code and the platform's record of it.
#include "orsincore/threads.h"

SE_Exception::SE_Exception() = default;

SE_Exception::SE_Exception(unsigned int code, _EXCEPTION_POINTERS* information)
    : code_(code), information_(information) {}

SE_Exception::SE_Exception(const SE_Exception& other) = default;

SE_Exception& SE_Exception::operator=(const SE_Exception& other) = default;

SE_Exception::~SE_Exception() = default;

unsigned int SE_Exception::getSeNumber() const {
  return code_;
}

_EXCEPTION_POINTERS* SE_Exception::getSePointers() const {
  return information_;
}

void SE_Exception::DumpFile() const {}

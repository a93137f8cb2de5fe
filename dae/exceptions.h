// The framework's exception family and the one place where exceptions become
// host return codes.
//
// Failed host calls are thrown as a plain A_long carrying the host's error
// code (ThrowIfError). Failed host allocations throw DAEAllocXCP. Only the
// entry point catches, and it does so with one catch-all:
//
//     catch (...) { err = DAE::ExceptionToResult(in_data, out_data); }
#pragma once
#include "hostapi/host_api.h"

namespace DAE {

// Product family name: the first %s of every message the framework writes.
extern const char kFamilyName[];

class DAEXCP {
public:
    virtual ~DAEXCP() = default;
};

class DAEAllocXCP : public DAEXCP {
public:
    explicit DAEAllocXCP(A_u_long size) : size_(size) {}
    A_u_long Size() const { return size_; }

private:
    A_u_long size_;
};

class DAECancelXCP : public DAEXCP {};

// Base of the exceptions that carry a text. The text is copied into the
// object (at most kMaxText characters), so throwing never allocates.
class DAETextXCP : public DAEXCP {
public:
    static constexpr int kMaxText = 255;
    explicit DAETextXCP(const char* text);
    const char* Text() const { return text_; }

private:
    char text_[kMaxText + 1];
};

class DAESuiteXCP : public DAETextXCP {
public:
    explicit DAESuiteXCP(const char* suite_name) : DAETextXCP(suite_name) {}
    const char* SuiteName() const { return Text(); }
};

class DAEMissingResourceXCP : public DAETextXCP {
public:
    explicit DAEMissingResourceXCP(const char* resource) : DAETextXCP(resource) {}
};

class DAEResourceXCP : public DAETextXCP {
public:
    explicit DAEResourceXCP(const char* resource) : DAETextXCP(resource) {}
};

// Throws a non-zero host error code as a plain A_long.
inline void ThrowIfError(A_long err) {
    if (err != 0) throw err;
}

// Maps the exception being handled to the host result; call it only from a
// catch block. Writes the message (if the kind has one) into
// out_data->return_msg and sets the display flag for unknown exceptions:
//   A_long n               -> n
//   DAECancelXCP           -> 517
//   DAEAllocXCP            -> 4
//   DAESuiteXCP            -> 13, "%s is missing the suite %s"
//   DAEMissingResourceXCP  -> 0,  "%s is missing the resource %s"
//   DAEResourceXCP         -> 0,  "%s has a problem with resource %s"
//   anything else          -> 512, "main() of %s caught an unknown exception."
PF_Err ExceptionToResult(PF_InData* in_data, PF_OutData* out_data);

// Formats into out_data->return_msg with the host's ANSI sprintf. fmt may hold
// only %s directives (and %%), filled from a1 and a2; each argument is cut to
// 255 characters and the result to 255 characters, so return_msg never
// overflows. Without a host sprintf the runtime's formatter is used. Does
// nothing when out_data is null.
void WriteReturnMessage(PF_InData* in_data, PF_OutData* out_data, const char* fmt, const char* a1 = nullptr,
                        const char* a2 = nullptr);

}  // namespace DAE

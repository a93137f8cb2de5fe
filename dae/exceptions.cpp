#include "dae/exceptions.h"

#include <cstdio>
#include <cstring>
#include <exception>

namespace DAE {

const char kFamilyName[] = "Corvane";

DAETextXCP::DAETextXCP(const char* text) : text_{} {
    if (text) std::strncpy(text_, text, kMaxText);
    text_[kMaxText] = '\0';
}

namespace {

constexpr std::size_t kReturnMsgBytes = sizeof(static_cast<PF_OutData*>(nullptr)->return_msg);
constexpr std::size_t kArgChars = 255;
constexpr std::size_t kFormatChars = 1023;

void CopyCut(char* dst, std::size_t dst_bytes, const char* src) {
    std::size_t n = 0;
    if (src) {
        while (n + 1 < dst_bytes && src[n]) ++n;
        std::memcpy(dst, src, n);
    }
    dst[n] = '\0';
}


// True when fmt holds nothing but text, %% and at most two %s.
bool OnlyTwoStrings(const char* fmt) {
    int strings = 0;
    for (const char* p = fmt; *p; ++p) {
        if (*p != '%') continue;
        ++p;
        if (*p == '%') continue;
        if (*p != 's' || ++strings > 2) return false;
    }
    return true;
}

}  // namespace

void WriteReturnMessage(PF_InData* in_data, PF_OutData* out_data, const char* fmt, const char* a1, const char* a2) {
    if (!out_data || !fmt) return;
    // The host's sprintf knows no limit, so every input is bounded first and
    // the result is formatted into a buffer that holds the worst case.
    char f[kFormatChars + 1];
    char s1[kArgChars + 1];
    char s2[kArgChars + 1];
    CopyCut(f, sizeof f, fmt);
    CopyCut(s1, sizeof s1, a1 ? a1 : "");
    CopyCut(s2, sizeof s2, a2 ? a2 : "");
    const char* use_fmt = f;
    const char* arg1 = s1;
    if (!OnlyTwoStrings(f)) {
        // A format we cannot bound is shown as plain text instead.
        use_fmt = "%s";
        arg1 = f;
    }
    char buffer[kFormatChars + 2 * kArgChars + 1];
    auto host_sprintf = (in_data && in_data->utils) ? in_data->utils->ansi.sprintf : nullptr;
    if (host_sprintf) {
        host_sprintf(buffer, use_fmt, arg1, s2);
    } else {
        std::snprintf(buffer, sizeof buffer, use_fmt, arg1, s2);
    }
    CopyCut(out_data->return_msg, kReturnMsgBytes, buffer);
}

PF_Err ExceptionToResult(PF_InData* in_data, PF_OutData* out_data) {
    std::exception_ptr current = std::current_exception();
    try {
        if (current) std::rethrow_exception(current);
        throw 0.0;  // not inside a handler: report it as unknown
    } catch (A_long err) {
        return err;
    } catch (const DAECancelXCP&) {
        return PF_Interrupt_CANCEL;
    } catch (const DAEAllocXCP&) {
        return PF_Err_OUT_OF_MEMORY;
    } catch (const DAESuiteXCP& e) {
        WriteReturnMessage(in_data, out_data, "%s is missing the suite %s", kFamilyName, e.SuiteName());
        return A_Err_MISSING_SUITE;
    } catch (const DAEMissingResourceXCP& e) {
        // Deliberately success: the user is told, the command counts as done.
        WriteReturnMessage(in_data, out_data, "%s is missing the resource %s", kFamilyName, e.Text());
        return PF_Err_NONE;
    } catch (const DAEResourceXCP& e) {
        WriteReturnMessage(in_data, out_data, "%s has a problem with resource %s", kFamilyName, e.Text());
        return PF_Err_NONE;
    } catch (...) {
        WriteReturnMessage(in_data, out_data, "main() of %s caught an unknown exception.", kFamilyName);
        if (out_data) out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
        return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
}

}  // namespace DAE

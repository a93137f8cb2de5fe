// Generated from measured host facts; edit the generator, not this file.
#pragma once
#include "hostapi/host_constants.h"

static_assert(FourCC('F', 'X', 'T', 'C') == 1180193859, "'FXTC'");
static_assert(FourCC('P', 'r', 'M', 'r') == 1349668210, "'PrMr'");
static_assert(FourCC('8', 'B', 'I', 'M') == 943868237, "'8BIM'");
static_assert(FourCC('k', 'i', 'n', 'd') == 1802071652, "'kind'");
static_assert(FourCC('e', 'F', 'K', 'T') == 1699105620, "'eFKT'");
static_assert(FourCC('n', 'a', 'm', 'e') == 1851878757, "'name'");
static_assert(FourCC('c', 'a', 't', 'g') == 1667331175, "'catg'");
static_assert(FourCC('8', '6', '6', '4') == 943076916, "'8664'");
static_assert(FourCC('e', 'P', 'V', 'R') == 1699763794, "'ePVR'");
static_assert(FourCC('e', 'S', 'V', 'R') == 1699960402, "'eSVR'");
static_assert(FourCC('e', 'V', 'E', 'R') == 1700152658, "'eVER'");
static_assert(FourCC('e', 'I', 'N', 'F') == 1699302982, "'eINF'");
static_assert(FourCC('e', 'G', 'L', 'O') == 1699171407, "'eGLO'");
static_assert(FourCC('e', 'G', 'L', '2') == 1699171378, "'eGL2'");
static_assert(FourCC('e', 'M', 'N', 'A') == 1699565121, "'eMNA'");
static_assert(FourCC('a', 'e', 'F', 'L') == 1634027084, "'aeFL'");
static_assert(FourCC('e', 'U', 'R', 'L') == 1700090444, "'eURL'");

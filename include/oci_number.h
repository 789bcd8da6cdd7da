/* Arithmetic on the 22-byte decimal number. */
#ifndef OCI_NUMBER_H
#define OCI_NUMBER_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Conversion from and to text, integers and binary floating point; lengths are in bytes. */
sword OCINumberToText(OCIError *err, const OCINumber *number, const OraText *fmt, ub4 fmt_length,
                      const OraText *nls_params, ub4 nls_p_length, ub4 *buf_size, OraText *buf);
sword OCINumberFromText(OCIError *err, const OraText *str, ub4 str_length, const OraText *fmt, ub4 fmt_length,
                        const OraText *nls_param, ub4 nls_p_length, OCINumber *number);
sword OCINumberToInt(OCIError *err, const OCINumber *number, uword rsl_length, uword rsl_flag, void *rsl);
sword OCINumberFromInt(OCIError *err, const void *inum, uword inum_length, uword inum_s_flag,
                       OCINumber *number);
sword OCINumberToReal(OCIError *err, const OCINumber *number, uword rsl_length, void *rsl);
sword OCINumberToRealArray(OCIError *err, const OCINumber **number, uword elems, uword rsl_length, void *rsl);
sword OCINumberFromReal(OCIError *err, const void *rnum, uword rnum_length, OCINumber *number);

/* Constants, assignment, comparison and properties. */
void OCINumberSetZero(OCIError *err, OCINumber *num);
void OCINumberSetPi(OCIError *err, OCINumber *num);
sword OCINumberAssign(OCIError *err, const OCINumber *from, OCINumber *to);
sword OCINumberCmp(OCIError *err, const OCINumber *number1, const OCINumber *number2, sword *result);
sword OCINumberSign(OCIError *err, const OCINumber *number, sword *result);
sword OCINumberIsZero(OCIError *err, const OCINumber *number, int *result);
sword OCINumberIsInt(OCIError *err, const OCINumber *number, int *result);

/* Arithmetic. */
sword OCINumberInc(OCIError *err, OCINumber *number);
sword OCINumberDec(OCIError *err, OCINumber *number);
sword OCINumberAdd(OCIError *err, const OCINumber *number1, const OCINumber *number2, OCINumber *result);
sword OCINumberSub(OCIError *err, const OCINumber *number1, const OCINumber *number2, OCINumber *result);
sword OCINumberMul(OCIError *err, const OCINumber *number1, const OCINumber *number2, OCINumber *result);
sword OCINumberDiv(OCIError *err, const OCINumber *number1, const OCINumber *number2, OCINumber *result);
sword OCINumberMod(OCIError *err, const OCINumber *number1, const OCINumber *number2, OCINumber *result);
sword OCINumberNeg(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberAbs(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberShift(OCIError *err, const OCINumber *number, const sword nDig, OCINumber *result);

/* Rounding; decimal places may be negative. */
sword OCINumberCeil(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberFloor(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberTrunc(OCIError *err, const OCINumber *number, sword decplace, OCINumber *result);
sword OCINumberRound(OCIError *err, const OCINumber *number, sword decplace, OCINumber *result);
sword OCINumberPrec(OCIError *err, const OCINumber *number, eword nDigs, OCINumber *result);

/* Powers, roots, exponentials and logarithms. */
sword OCINumberSqrt(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberPower(OCIError *err, const OCINumber *base, const OCINumber *number, OCINumber *result);
sword OCINumberIntPower(OCIError *err, const OCINumber *base, const sword exp, OCINumber *result);
sword OCINumberExp(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberLn(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberLog(OCIError *err, const OCINumber *base, const OCINumber *number, OCINumber *result);

/* Trigonometric and hyperbolic functions; angles are in radians. */
sword OCINumberSin(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberCos(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberTan(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberArcSin(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberArcCos(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberArcTan(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberArcTan2(OCIError *err, const OCINumber *number1, const OCINumber *number2, OCINumber *result);
sword OCINumberHypSin(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberHypCos(OCIError *err, const OCINumber *number, OCINumber *result);
sword OCINumberHypTan(OCIError *err, const OCINumber *number, OCINumber *result);

OCI_END_DECLARATIONS

#endif

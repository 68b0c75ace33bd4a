// Hexadecimal fields and MAC / IPv4 address text. No validation: a wrong
// character simply yields a wrong number. IPv4 addresses are 32-bit numbers
// with the first dotted byte most significant; a MAC address is a low word
// (last four bytes) and a high word (first two bytes).
#ifndef ZPPORT_ADDRESSTEXT_H
#define ZPPORT_ADDRESSTEXT_H

#include "ZpExport.h"

// 0..15 for a hex digit, 0xFFFFFFFF for any other character.
ZP_EXPORT unsigned int hex(char c);
// Two decimal digits, modulo 256.
ZP_EXPORT unsigned char dec2c(char* p);
// Two hex digits; not a valid byte when a character is not a digit.
ZP_EXPORT unsigned int hex2c(char* p);
ZP_EXPORT unsigned short hex2s(char* p);
ZP_EXPORT unsigned int hex2i(char* p);
ZP_EXPORT void c2hex(unsigned char v, char* out);
// "%02X": three or four digits above 0xFF.
ZP_EXPORT void s2hex(unsigned short v, char* out);
// "%04X": up to eight digits.
ZP_EXPORT void i2hex(unsigned int v, char* out);

ZP_EXPORT void MACAddressToString(unsigned int low, unsigned int high, char* out);
ZP_EXPORT void StringToMACAddress(const char* text, unsigned int& low, unsigned int& high);
ZP_EXPORT void ByteAddressToString(unsigned int a, char* out);
ZP_EXPORT void ByteAddressToString(unsigned char a, unsigned char b, unsigned char c, unsigned char d,
                                   char* out);
ZP_EXPORT void StringAddressToByte(const char* text, unsigned char& a, unsigned char& b, unsigned char& c,
                                   unsigned char& d);
ZP_EXPORT void StringAddressToLong(const char* text, unsigned int& v);
ZP_EXPORT void StringAddressToByteSquare(const char* text, unsigned char& a, unsigned char& b,
                                         unsigned char& c, unsigned char& d);
ZP_EXPORT void StringAddressToLongSquare(const char* text, unsigned int& v);

#endif  // ZPPORT_ADDRESSTEXT_H

#!/usr/bin/env python3
"""Writes tests/platform/decimal_oracle.txt: what an independent decimal implementation answers.

Both sides make the operands of line i from the same small generator, so the file holds answers only.
tests/platform/decimal_oracle_test.cpp mirrors `Case`; change them together and run this again:

    python3 tools/decimal_oracle.py > tests/platform/decimal_oracle.txt

An answer is one of
    !O !U !Z   overflow, underflow, division by zero
    < = >      the outcome of a comparison
    .          zero
    [-]MM..EE  mantissa without trailing zeros (as far as exponent 127), then exponent + 128 in two
               characters, both in base 64, highest digit first
"""

import decimal
import sys

CASES = 100_000
DIGITS = 38
MIN_EXPONENT = -128
MAX_EXPONENT = 127
ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"
OPERATIONS = "+-*/+*/r/c"
MODES = (
    decimal.ROUND_HALF_UP,
    decimal.ROUND_HALF_EVEN,
    decimal.ROUND_CEILING,
    decimal.ROUND_FLOOR,
)
WIDE = decimal.Context(prec=1000, Emin=-100_000, Emax=100_000, traps=[])
LIMITED = decimal.Context(
    prec=DIGITS, rounding=decimal.ROUND_HALF_UP, Emin=-100_000, Emax=100_000, traps=[]
)


class Generator:
    """SplitMix64."""

    def __init__(self, seed):
        self.state = seed * 0x9E3779B97F4A7C15 % 2**64

    def next(self):
        self.state = (self.state + 0x9E3779B97F4A7C15) % 2**64
        z = self.state
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9 % 2**64
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB % 2**64
        return z ^ (z >> 31)

    def below(self, limit):
        return self.next() % limit

    def mantissa(self, digits):
        high = self.next()
        return (high * 2**64 + self.next()) % 10**digits


def clip(exponent):
    return max(MIN_EXPONENT, min(MAX_EXPONENT, exponent))


class Case:
    """Two operands as (mantissa, exponent, negative), a scale and a rounding mode."""

    def __init__(self, index):
        self.random = Generator(index)
        self.operation = OPERATIONS[index % len(OPERATIONS)]
        self.a = self.operand()
        self.b = self.partner()
        self.scale = -self.a[1] - self.random.below(42) + 2
        if self.random.below(16) == 0:
            self.scale = -100 - self.random.below(100)
        self.mode = self.random.below(len(MODES))

    def operand(self):
        r = self.random
        shape = r.below(8)
        negative = r.below(2) == 1
        if shape < 3:  # amounts, quantities, rates
            mantissa = r.mantissa(1 + r.below(12))
            return mantissa, -r.below(5), negative
        if shape == 3:
            mantissa = r.mantissa(1 + r.below(38))
            return mantissa, r.below(256) - 128, negative
        if shape == 4:
            mantissa = r.mantissa(38)
            return mantissa, -r.below(40), negative
        if shape == 5:
            mantissa = 10 ** r.below(39) - 1
            return mantissa, r.below(256) - 128, negative
        if shape == 6:  # around the limits of the exponent
            mantissa = 10 ** r.below(38) * (1 + r.below(9))
            edge = 127 if r.below(2) == 1 else -128
            return mantissa, clip(edge + r.below(7) - 3), negative
        mantissa = 5 * 10 ** r.below(37) + r.below(2)
        return mantissa, -r.below(80), negative

    def partner(self):
        """Independent, or chosen to meet the first operand at its last digit."""
        r = self.random
        mantissa, exponent, negative = self.a
        relation = r.below(6)
        if relation < 2:
            return self.operand()
        if relation == 2:  # cancels nearly or wholly
            near = max(0, mantissa + r.below(3) - 1) % 10**38
            return near, clip(exponent + r.below(3) - 1), r.below(2) == 1
        if relation == 3:  # a half, or next to it, just below the 38th digit
            zeros = r.below(37)
            half = 5 * 10**zeros + r.below(3) - 1
            place = exponent + len(str(mantissa)) - DIGITS - 1 - zeros
            return half, clip(place + r.below(2)), r.below(2) == 1
        if relation == 4:  # small divisors and factors, many of which end exactly
            return 1 + r.below(256), -r.below(3), r.below(2) == 1
        return r.mantissa(38), clip(exponent + r.below(120) - 60), r.below(2) == 1


def number(parts):
    mantissa, exponent, negative = parts
    digits = tuple(int(digit) for digit in str(mantissa))
    return decimal.Decimal((int(negative), digits, exponent))


def base64(value, width=1):
    text = ""
    while value or len(text) < width:
        text = ALPHABET[value % 64] + text
        value //= 64
    return text


def encode(value):
    sign, digits, exponent = value.as_tuple()
    mantissa = int("".join(map(str, digits)))
    if mantissa == 0:
        return "."
    while mantissa % 10 == 0:
        mantissa //= 10
        exponent += 1
    if exponent < MIN_EXPONENT:
        return "!U"
    while exponent > MAX_EXPONENT:
        mantissa *= 10
        exponent -= 1
    if mantissa >= 10**DIGITS:
        return "!O"
    return ("-" if sign else "") + base64(mantissa) + base64(exponent - MIN_EXPONENT, 2)


def answer(case):
    a, b = number(case.a), number(case.b)
    if case.operation == "+":
        return encode(LIMITED.add(a, b))
    if case.operation == "-":
        return encode(LIMITED.subtract(a, b))
    if case.operation == "*":
        return encode(LIMITED.multiply(a, b))
    if case.operation == "/":
        return encode(LIMITED.divide(a, b)) if b else "!Z"
    if case.operation == "r":
        unit = decimal.Decimal((0, (1,), -case.scale))
        return encode(a.quantize(unit, rounding=MODES[case.mode], context=WIDE))
    return "<" if a < b else ">" if a > b else "="


def main():
    for index in range(CASES):
        sys.stdout.write(answer(Case(index)) + "\n")


if __name__ == "__main__":
    main()

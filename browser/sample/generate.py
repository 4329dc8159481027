#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes securities.csv, sessions.csv and quotes.csv beside this script, the same ones every time.

The files are kept; run this only to change the sample. All names and numbers are invented."""

import datetime
import pathlib

SECURITIES = 240
DAYS = 30
FIRST_DAY = datetime.date(2021, 3, 1)


class Numbers:
    """A linear congruential generator: the same numbers in every version of Python."""

    def __init__(self, seed):
        self.state = seed

    def below(self, limit):
        self.state = (self.state * 6364136223846793005 + 1442695040888963407) % 2**64
        return (self.state >> 33) % limit

    def pick(self, choices):
        return choices[self.below(len(choices))]


FIRST = ["Северный", "Южный", "Заречный", "Лазурный", "Ясный", "Тихий", "Быстрый", "Янтарный", "Кедровый", "Ветреный",
         "Amber", "Birch", "Copper", "Distant", "Early", "Quiet", "Silver", "Upland", "Velvet", "Winter"]
SECOND = ["Берег", "Ручей", "Мост", "Парус", "Колос", "Ключ", "Камень", "Лес", "Маяк", "Причал"]
SECOND_LATIN = ["Harbour", "Mill", "Orchard", "Foundry", "Bridge", "Lantern", "Ferry", "Quarry", "Loom", "Granary"]
FORM = ["АО", "ПАО", "ООО"]
FORM_LATIN = ["Ltd.", "& Sons", "Group, Inc.", "\"Old\" Works"]
LETTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
NOTES = ["", "дивиденды выплачиваются дважды в год", "thinly traded", "приостановлены торги", "split 1:10, see register"]


def securities(numbers):
    tickers = set()
    for stock in range(1, SECURITIES + 1):
        first = numbers.pick(FIRST)
        if first.isascii():
            name = f"{first} {numbers.pick(SECOND_LATIN)} {numbers.pick(FORM_LATIN)}"
        else:
            name = f"{numbers.pick(FORM)} «{first} {numbers.pick(SECOND)}»"
        ticker = ""
        while not ticker or ticker in tickers:
            ticker = "".join(numbers.pick(LETTERS) for _ in range(3 + numbers.below(2)))
        tickers.add(ticker)
        # Every third company is older than 1970, every tenth has no date.
        listed = datetime.date(1895 + numbers.below(75), 1 + numbers.below(12), 1 + numbers.below(28)) \
            if stock % 3 == 0 else datetime.date(1971 + numbers.below(48), 1 + numbers.below(12), 1 + numbers.below(28))
        nominal = f"{numbers.below(200)}.{numbers.below(10000):04}" if numbers.below(4) else None
        note = numbers.pick(NOTES) if numbers.below(3) else None
        yield stock, ticker, name, None if stock % 10 == 0 else listed.isoformat(), nominal, note


def days():
    day = FIRST_DAY
    for session in range(1, DAYS + 1):
        while day.weekday() >= 5:
            day += datetime.timedelta(days=1)
        yield session, day.isoformat()
        day += datetime.timedelta(days=1)


def trades(numbers):
    prices = {stock: 50 + numbers.below(20000) for stock in range(1, SECURITIES + 1)}
    traded = set()
    for session, day in days():
        for stock in range(1, SECURITIES + 1):
            # The higher the number, the rarer the trade.
            if numbers.below(SECURITIES) < stock * 3 // 5:
                continue
            before = prices[stock]
            opening = max(1, before + numbers.below(before // 25 + 3) - before // 50 - 1)
            close = max(1, opening + numbers.below(opening // 20 + 3) - opening // 40 - 1)
            high = max(opening, close) + numbers.below(20)
            low = max(1, min(opening, close) - numbers.below(20))
            change = close - before if stock in traded else None
            prices[stock] = close
            traded.add(stock)
            volume = numbers.below(1000) * 10 ** numbers.below(8)
            # Some days only the closing price is known.
            if numbers.below(40) == 0:
                opening = high = low = None
            yield session, day, stock, opening, high, low, close, change, volume


def money(cents):
    if cents is None:
        return None
    return f"{'-' if cents < 0 else ''}{abs(cents) // 100}.{abs(cents) % 100:02}"


def write(name, header, rows):
    """An absent value is empty, an empty text a pair of quotes."""
    def field(value):
        if value is None:
            return ""
        text = str(value)
        if text == "" or any(character in text for character in ',"\n'):
            return '"' + text.replace('"', '""') + '"'
        return text
    path = pathlib.Path(__file__).with_name(name)
    with path.open("w", encoding="utf-8", newline="\n") as file:
        file.write(",".join(header) + "\n")
        for row in rows:
            file.write(",".join(map(field, row)) + "\n")


def main():
    numbers = Numbers(20210301)
    write("securities.csv", ["stock_id", "ticker", "name", "listed", "nominal", "note"], securities(numbers))
    all_trades = list(trades(numbers))
    write("sessions.csv", ["stock_id", "sess_id", "trade_date"],
          ((stock, session, day) for session, day, stock, *_ in all_trades))
    write("quotes.csv", ["stock_id", "sess_id", "open", "high", "low", "close", "change", "volume"],
          ((stock, session, *map(money, prices), volume)
           for session, _, stock, *prices, volume in all_trades))


if __name__ == "__main__":
    main()

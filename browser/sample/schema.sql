-- SPDX-License-Identifier: MIT
-- The tables of the sample. All names and numbers in it are invented.
CREATE TABLE securities (
    stock_id INTEGER NOT NULL PRIMARY KEY,
    ticker   VARCHAR(12) NOT NULL,
    name     TEXT NOT NULL,
    listed   TIMESTAMP,
    nominal  DECIMAL(12,4),
    note     VARCHAR(60)
);
CREATE TABLE sessions (
    stock_id   INTEGER NOT NULL,
    sess_id    INTEGER NOT NULL,
    trade_date TIMESTAMP NOT NULL
);
CREATE TABLE quotes (
    stock_id INTEGER NOT NULL,
    sess_id  INTEGER NOT NULL,
    open     DECIMAL(14,2),
    high     DECIMAL(14,2),
    low      DECIMAL(14,2),
    close    DECIMAL(14,2) NOT NULL,
    change   DECIMAL(14,2),
    volume   BIGINT NOT NULL
);

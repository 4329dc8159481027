-- SPDX-License-Identifier: MIT
-- Tables as SQLite files hold them that nobody made for this library: types that it does not know, and values
-- that are not what their columns declare. tst_foundtables makes them, and loads each. A statement ends with
-- a semicolon at the end of a line.

-- Types without a counterpart
CREATE TABLE untyped (id INTEGER PRIMARY KEY, a, b);
INSERT INTO untyped VALUES (1, 5, 'five'), (2, 5.5, NULL), (3, x'0102', ''), (4, 'пять', 1e100), (5, -7, 0.1);
CREATE TABLE made_from_a_query AS SELECT id, a, count(*) AS n, sum(id) / 3.0 AS share FROM untyped GROUP BY id;
CREATE TABLE json_documents (id INTEGER PRIMARY KEY, doc JSON NOT NULL);
INSERT INTO json_documents VALUES (1, '{"a": [1, 2, {"b": null}]}'), (2, '[]'), (3, '12'), (4, '"текст"');
CREATE TABLE uuid_keys (id UUID PRIMARY KEY, name VARCHAR(20));
INSERT INTO uuid_keys VALUES ('6f9619ff-8b86-d011-b42d-00cf4fc964ff', 'a'), ('00000000-0000-0000-0000-000000000000', 'b');
CREATE TABLE times_of_day (id INTEGER, at TIME);
INSERT INTO times_of_day VALUES (1, '23:59:59'), (2, '08:00'), (3, '00:00:00.125'), (4, NULL);
CREATE TABLE bits (id INTEGER, flag BIT, mask BIT(8));
INSERT INTO bits VALUES (1, 1, 255), (2, 0, NULL), (3, NULL, 'b0101');
CREATE TABLE money_columns (id INTEGER, price MONEY, tax SMALLMONEY);
INSERT INTO money_columns VALUES (1, 12.5, 0.75), (2, '$3.00', NULL), (3, 100, -1);
CREATE TABLE geometries (id INTEGER, shape GEOMETRY, place POINT);
INSERT INTO geometries VALUES (1, x'0001E6100000000000000000F03F00000000000000400000', 'POINT(1 2)'), (2, NULL, NULL);
CREATE TABLE enumerations (id INTEGER, state "ENUM('new','old')", colour ENUM);
INSERT INTO enumerations VALUES (1, 'new', 'red'), (2, 'old', NULL);
CREATE TABLE years_and_intervals (y YEAR, i INTERVAL);
INSERT INTO years_and_intervals VALUES (2017, '1 day'), (1999, NULL);
CREATE TABLE strict_any (id INTEGER PRIMARY KEY, a ANY) STRICT;
INSERT INTO strict_any VALUES (1, 1), (2, 'a'), (3, 2.5), (4, x'ff'), (5, NULL);
CREATE TABLE strings (s STRING, l LONG, u UNIQUEIDENTIFIER, x XML);
INSERT INTO strings VALUES ('abc', 5, 'u', '<a/>'), ('007', 9999999999, NULL, NULL);
CREATE TABLE decimals_beyond_all (d DECIMAL(100, 70), z DECIMAL(0,0));
INSERT INTO decimals_beyond_all VALUES (1.25, 3), (-2, 0);
CREATE TABLE quoted_types (a "VARCHAR(x)", b "1", c [a b]);
INSERT INTO quoted_types VALUES ('x', 2, 3), (NULL, 'y', 4.5);

-- Bytes
CREATE TABLE pictures (id INTEGER PRIMARY KEY, photo BLOB);
INSERT INTO pictures VALUES (1, x'89504E470D0A1A0A0000000D49484452000000'), (2, x''), (3, x'ff'), (4, NULL), (5, zeroblob(404)), (6, zeroblob(100000));
CREATE TABLE blobs_of_texts (b BLOB, t TEXT, v VARCHAR(4));
INSERT INTO blobs_of_texts VALUES ('a text', x'00ff', x'0102030405060708'), (12, 'b', 'abcd'), (1.5, NULL, NULL);
CREATE TABLE digests (h BINARY(16), r BLOB(3));
INSERT INTO digests VALUES (x'000102030405060708090a0b0c0d0e0f', x'010203'), (x'ff', x'01020304'), ('text', NULL);
CREATE TABLE bytes_in_numbers (i INTEGER, d DOUBLE, n NUMERIC(5,2), t DATETIME);
INSERT INTO bytes_in_numbers VALUES (1, 1.5, 2.25, '2017-01-31'), (x'01', x'02', x'03', x'04');

-- Numbers that are something else
CREATE TABLE words_in_integers (id INTEGER, n INTEGER, s SMALLINT);
INSERT INTO words_in_integers VALUES (1, 5, 1), (2, 'N/A', 2), (3, '', 3), (4, NULL, '-'), (5, 7.5, 4);
CREATE TABLE fractions_in_integers (n INTEGER, m BIGINT);
INSERT INTO fractions_in_integers VALUES (1, 9007199254740992), (1.5, 0.25), (-2, -3), (1e-3, NULL);
CREATE TABLE fractions_beside_large_integers (n INTEGER);
INSERT INTO fractions_beside_large_integers VALUES (9007199254740993), (0.5), (1);
CREATE TABLE large_integers (n INTEGER, m INT);
INSERT INTO large_integers VALUES (2147483648, 1), (9223372036854775807, -2147483649), (-9223372036854775808, NULL);
CREATE TABLE integers_beyond_64_bits (n INTEGER, u BIGINT UNSIGNED);
INSERT INTO integers_beyond_64_bits VALUES (9223372036854775808, 18446744073709551615), (1, 2), (-5, 3);
CREATE TABLE infinite_numbers (n INTEGER, d DOUBLE, p DECIMAL(10,2));
INSERT INTO infinite_numbers VALUES (1, 1, 1), (9e999, 9e999, 9e999), (-9e999, -9e999, -9e999);
CREATE TABLE words_in_doubles (d DOUBLE, f FLOAT, r REAL);
INSERT INTO words_in_doubles VALUES (1.5, 2.5, 3), ('1,5', 'inf', 'NaN'), (NULL, 1e300, 0.1);
CREATE TABLE words_in_decimals (p DECIMAL(10,2), q NUMERIC);
INSERT INTO words_in_decimals VALUES (1.5, 2.5), ('free', 'unknown'), (3, 1e20);
CREATE TABLE decimals_too_long (p DECIMAL(10,2), q NUMERIC);
INSERT INTO decimals_too_long VALUES (1e30, 1e200), (1e-8, 1e-200), (2.5, 1);
CREATE TABLE decimals_longer_than_declared (p DECIMAL(5,2), q DECIMAL(5,2));
INSERT INTO decimals_longer_than_declared VALUES (1.125, 123456.5), (2, 2);
CREATE TABLE words_in_booleans (b BOOLEAN, c BOOL);
INSERT INTO words_in_booleans VALUES (1, 'true'), (0, 'false'), (NULL, 't');

-- Texts
CREATE TABLE texts_longer_than_declared (v VARCHAR(3), c CHAR(1));
INSERT INTO texts_longer_than_declared VALUES ('abc', 'x'), ('abcdefghijklmnop', 'yes'), ('', '😀');
CREATE TABLE one_long_text (v VARCHAR(3), w VARCHAR(255), p VARCHAR(10000));
INSERT INTO one_long_text VALUES ('a', 'b', 'c'), (replace(hex(zeroblob(128)), '0', 'y'), 'b', 'c');
CREATE TABLE texts_that_are_no_utf8 (t TEXT, v VARCHAR(10));
INSERT INTO texts_that_are_no_utf8 VALUES ('caf' || CAST(x'e9' AS TEXT), CAST(x'ff41' AS TEXT)), ('café', 'ok'), (CAST(x'61e282' AS TEXT), CAST(x'c3' AS TEXT));
CREATE TABLE nul_characters (t TEXT, v VARCHAR(10));
INSERT INTO nul_characters VALUES (CAST(x'610062' AS TEXT), CAST(x'6100' AS TEXT)), ('a', 'b');
CREATE TABLE numbers_in_texts (t TEXT, v VARCHAR(3), d CLOB);
INSERT INTO numbers_in_texts VALUES (1, 12, 1.5), (1e20, 3, -2), (123456789012345678, 99999, 0.1);
CREATE TABLE null_in_a_key (code VARCHAR(3) PRIMARY KEY, n INTEGER);
INSERT INTO null_in_a_key VALUES (NULL, 1), ('a', 2), (NULL, 3);

-- Dates
CREATE TABLE dates (d DATE, e DATE NOT NULL);
INSERT INTO dates VALUES ('2017-01-31', '1969-12-31'), ('1970-01-01', '9999-12-31'), (NULL, '');
CREATE TABLE unix_seconds (d DATE, t DATETIME, s TIMESTAMP);
INSERT INTO unix_seconds VALUES (1485820800, 1485820800, 1485820800), (0, 0, -1), (NULL, NULL, NULL);
CREATE TABLE unix_milliseconds (t DATETIME);
INSERT INTO unix_milliseconds VALUES (1485820800125), (-1);
CREATE TABLE julian_days (t DATETIME);
INSERT INTO julian_days VALUES (2457784.5), (2440587.75);
CREATE TABLE iso_with_zones (t DATETIME);
INSERT INTO iso_with_zones VALUES ('2017-01-31T14:30:00+03:00'), ('2017-01-31T14:30:00.123456Z'), ('2017-01-31 14:30:00');
CREATE TABLE microseconds (t TIMESTAMP);
INSERT INTO microseconds VALUES ('2017-01-31 14:30:00.123456'), ('2017-01-31 14:30:00.000001');
CREATE TABLE day_first (d DATE, t DATETIME);
INSERT INTO day_first VALUES ('31.01.2017', '31/01/2017 14:30'), ('1.2.2017', '01-02-2017');
CREATE TABLE month_names (t DATETIME);
INSERT INTO month_names VALUES ('Jan 31, 2017'), ('2017-Jan-31'), ('now');
CREATE TABLE the_epoch (t DATETIME, d DATE);
INSERT INTO the_epoch VALUES ('1970-01-01T00:00:00', '1970-01-01'), ('1970-01-01 00:00:00', NULL), ('2017-01-31T00:00:00', '');
CREATE TABLE zero_dates (d DATE, t DATETIME);
INSERT INTO zero_dates VALUES ('0000-00-00', '0000-00-00 00:00:00'), ('2017-00-31', '2017-02-30 00:00:00');
CREATE TABLE plain_dates_and_times (t DATETIME, s TIMESTAMP(3));
INSERT INTO plain_dates_and_times VALUES ('2017-01-31 14:30:00', '2017-01-31 14:30:00.125'), (NULL, '');

-- What is a table
CREATE TABLE without_rowid (k TEXT PRIMARY KEY, n) WITHOUT ROWID;
INSERT INTO without_rowid VALUES ('a', 1), ('b', 'two');
CREATE TABLE generated (a INTEGER, b GENERATED ALWAYS AS (a * 2), c TEXT GENERATED ALWAYS AS ('c' || a) STORED);
INSERT INTO generated (a) VALUES (1), (2);
CREATE TABLE "select" ("order" INTEGER, "a b" TEXT, "столбец" REAL);
INSERT INTO "select" VALUES (1, 'x', 0.5);
CREATE TABLE from_a_sheet ("" INTEGER, "a,b" TEXT, "без имени" TEXT);
INSERT INTO from_a_sheet VALUES (1, 'x', 'y');
CREATE TABLE no_rows (a GEOMETRY, b DATE, c BLOB);
CREATE VIRTUAL TABLE searched USING fts5(title, body);
INSERT INTO searched VALUES ('a title', 'a body'), ('another', NULL);
CREATE VIRTUAL TABLE boxes USING rtree(id, x0, x1);
INSERT INTO boxes VALUES (1, 0.5, 1.5), (2, -1, 1);
CREATE VIEW a_view AS SELECT id, a AS value, id + 0.5 AS more FROM untyped WHERE id > 1;
CREATE VIEW a_count (kind, n) AS SELECT typeof(a), count(*) FROM untyped GROUP BY 1;
CREATE VIEW a_view_of_a_view AS SELECT n, kind FROM a_count;
CREATE VIEW a_join AS SELECT u.id, p.photo, d.d FROM untyped u LEFT JOIN pictures p USING (id) LEFT JOIN dates d ON 1;
CREATE VIEW of_nothing AS SELECT * FROM json_documents WHERE 0;

-- SPDX-License-Identifier: MIT
-- Tables as schemas of PostgreSQL have them that nobody made for this library. tst_postgresql makes them, and
-- loads each. A statement ends with a semicolon at the end of a line.
CREATE TYPE mood AS ENUM ('sad', 'happy');
CREATE TYPE place AS (x double precision, name text);
CREATE DOMAIN mark AS integer CHECK (VALUE > 0);

-- Types without a counterpart
CREATE TABLE documents (id uuid PRIMARY KEY, doc json, docb jsonb, x xml);
INSERT INTO documents VALUES ('6f9619ff-8b86-d011-b42d-00cf4fc964ff', '{"a":  1}', '{"b": [1, null]}', '<a>b</a>'), ('00000000-0000-0000-0000-000000000000', NULL, NULL, NULL);
CREATE TABLE enumerations (m mood, ms mood[], p place, d mark);
INSERT INTO enumerations VALUES ('happy', '{sad,happy}', (1.5, 'a "b"'), 5), (NULL, NULL, NULL, NULL), ('sad', '{}', (NULL, NULL), 1);
CREATE TABLE arrays (i integer[], t text[], n numeric[][], d date[]);
INSERT INTO arrays VALUES ('{1,2,NULL}', '{a,"b c"}', '{{1.5,2},{3,4}}', '{2017-01-31}'), ('{}', NULL, NULL, NULL);
CREATE TABLE ranges (i int4range, n numrange, t tstzrange, m int4multirange);
INSERT INTO ranges VALUES ('[1,5)', '(0.5,)', '[2017-01-31 12:00+03,)', '{[1,2),[5,6)}'), ('empty', NULL, NULL, '{}');
CREATE TABLE addresses (i inet, c cidr, m macaddr);
INSERT INTO addresses VALUES ('192.168.0.1/24', '10.0.0.0/8', '08:00:2b:01:02:03'), ('::1', NULL, NULL);
CREATE TABLE times (t time, z timetz, i interval, p time(3));
INSERT INTO times VALUES ('23:59:59.5', '10:00+03', '1 year 2 days 03:04:05', '01:02:03'), (NULL, NULL, '-1 day', NULL);
CREATE TABLE amounts (m money, b bit(3), v bit varying(5), c "char", n name, o oid);
INSERT INTO amounts VALUES (12.5, B'101', B'1', 'x', 'a name', 4294967295), (NULL, NULL, NULL, NULL, NULL, NULL);
CREATE TABLE shapes (p point, b box, c circle, g path);
INSERT INTO shapes VALUES ('(1,2)', '((0,0),(1,1))', '<(0,0),5>', '[(0,0),(1,1)]'), (NULL, NULL, NULL, NULL);
CREATE TABLE words (v tsvector, q tsquery, r regclass);
INSERT INTO words VALUES ('a fat cat', 'fat & cat', 'shapes'), (NULL, NULL, NULL);
CREATE TABLE pictures (id serial PRIMARY KEY, photo bytea);
INSERT INTO pictures (photo) VALUES ('\x00ff'), (''), (NULL), (decode(repeat('ab', 100000), 'hex'));
CREATE TABLE decimals_beyond_all (n numeric(100,70), m numeric(50,2));
INSERT INTO decimals_beyond_all VALUES (1.25, 123456789012345678901234567890123456789.25), (NULL, NULL);

-- Values that do not fit
CREATE TABLE readings (id bigint, at timestamptz, t timestamp, d date);
INSERT INTO readings VALUES (1, '2017-01-31 14:30:00.123456+03', '2017-01-31 14:30:00.000001', '1970-01-01'), (2, 'infinity', '-infinity', 'infinity'), (3, '1970-01-01 00:00:00+00', '0044-03-15 12:00:00 BC', '0044-03-15 BC');
CREATE TABLE numbers (n numeric(5,2), m numeric, o numeric, r real);
INSERT INTO numbers VALUES ('NaN', 'NaN', 123456789012345678901234567890123456789012345, 'NaN'), (1.5, 1e-30, 0.5, 0.1), (NULL, NULL, NULL, '-Infinity');
CREATE TABLE characters (c char(3), v varchar(2), t text);
INSERT INTO characters VALUES ('a', '😀😀', ''), ('😀', NULL, 'x');

-- What is a table
CREATE TABLE ordinary (id integer PRIMARY KEY, name varchar(20) NOT NULL, price numeric(10,2), at timestamp, day date);
INSERT INTO ordinary VALUES (1, 'a', 2.50, '2017-01-31 14:30:00', '2017-01-31'), (2, 'b', NULL, NULL, NULL);
CREATE TABLE no_rows (m mood, "%2" bytea);
CREATE TABLE parts (id integer, m mood) PARTITION BY RANGE (id);
CREATE TABLE part1 PARTITION OF parts FOR VALUES FROM (0) TO (10);
INSERT INTO parts VALUES (5, 'sad');
CREATE UNLOGGED TABLE passing (id integer GENERATED ALWAYS AS IDENTITY, twice integer GENERATED ALWAYS AS (2) STORED);
INSERT INTO passing DEFAULT VALUES;
CREATE VIEW a_view AS SELECT m, count(*) AS n, upper(m::text) AS u FROM enumerations GROUP BY m;
CREATE VIEW a_view_of_a_view AS SELECT n, u FROM a_view WHERE u IS NOT NULL;
CREATE MATERIALIZED VIEW kept AS SELECT id, photo FROM pictures;

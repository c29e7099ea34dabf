// The tables and views of a sweep's results. docs/sweeps.md tells what they are for.
#include "sweep/results.h"

namespace workbench {

const char* const kResultTables = R"sql(
CREATE TABLE IF NOT EXISTS sweep (
    format TEXT NOT NULL,   -- kavril-sweep
    version INTEGER NOT NULL,
    folder TEXT NOT NULL,   -- that the study's files are relative to
    study TEXT NOT NULL     -- as JSON
);
CREATE TABLE IF NOT EXISTS networks (
    network INTEGER PRIMARY KEY,
    id TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL,
    unit TEXT NOT NULL      -- of bandwidths
);
CREATE TABLE IF NOT EXISTS links (
    network INTEGER NOT NULL,
    link INTEGER NOT NULL,
    name TEXT NOT NULL,
    capacity REAL NOT NULL,
    PRIMARY KEY (network, link)
) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS failures (
    network INTEGER NOT NULL,
    failure INTEGER NOT NULL,   -- 0 in other tables: nothing
    kind TEXT NOT NULL,
    name TEXT NOT NULL,
    PRIMARY KEY (network, failure)
) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS plans (
    plan INTEGER PRIMARY KEY,
    id TEXT NOT NULL UNIQUE,
    network INTEGER NOT NULL,
    matrix TEXT NOT NULL,
    scale REAL NOT NULL,
    classes TEXT NOT NULL,
    weights TEXT NOT NULL,
    protection TEXT NOT NULL,
    replanning TEXT NOT NULL,
    requests INTEGER,       -- from here on NULL until the plan is made
    placed INTEGER,
    backups INTEGER,
    offered REAL,           -- bandwidths
    carried REAL,
    refused REAL,
    protected REAL,
    error TEXT              -- why there is no plan
);
CREATE TABLE IF NOT EXISTS plan_levels (
    plan INTEGER NOT NULL,
    class TEXT NOT NULL,
    level INTEGER NOT NULL,
    requests INTEGER NOT NULL,
    placed INTEGER NOT NULL,
    offered REAL NOT NULL,
    carried REAL NOT NULL,
    refused REAL NOT NULL,
    protected REAL NOT NULL,
    PRIMARY KEY (plan, class, level)
) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS cases (
    plan INTEGER NOT NULL,
    failure INTEGER NOT NULL,
    second INTEGER NOT NULL,    -- failure of a pair
    id TEXT NOT NULL,
    carried REAL,           -- bandwidths in the failure; NULL where the case has failed
    restored REAL,          -- of carried: by backups
    again REAL,             -- of carried: lost at first, and placed again
    lost REAL,              -- and not carried again
    ended REAL,             -- with an end at a node that is down
    lsps_restored INTEGER,
    lsps_again INTEGER,
    lsps_lost INTEGER,
    lsps_ended INTEGER,
    worst_load REAL,        -- share of a capacity
    worst_link INTEGER,
    worst_class TEXT,
    overloads INTEGER,      -- links above their capacity, of those that carry more or less
    error TEXT,
    PRIMARY KEY (plan, failure, second)
) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS case_levels (
    plan INTEGER NOT NULL,
    failure INTEGER NOT NULL,
    second INTEGER NOT NULL,
    class TEXT NOT NULL,
    level INTEGER NOT NULL,
    restored REAL NOT NULL,
    again REAL NOT NULL,
    lost REAL NOT NULL,
    ended REAL NOT NULL,
    PRIMARY KEY (plan, failure, second, class, level)
) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS link_loads (
    plan INTEGER NOT NULL,
    link INTEGER NOT NULL,
    class TEXT NOT NULL,
    capacity REAL NOT NULL,
    usual REAL NOT NULL,    -- with nothing failed
    worst REAL NOT NULL,    -- in any case of the plan
    failure INTEGER,        -- that causes it; NULL: none is needed
    second INTEGER,
    PRIMARY KEY (plan, link, class)
) WITHOUT ROWID;

CREATE VIEW IF NOT EXISTS case_names AS
    SELECT c.plan, c.failure, c.second,
           CASE WHEN c.failure = 0 THEN 'nothing'
                WHEN c.second = 0 THEN a.kind || ' ' || a.name
                ELSE a.kind || ' ' || a.name || ' + ' || b.kind || ' ' || b.name
           END AS name
    FROM cases c JOIN plans p USING (plan)
    LEFT JOIN failures a ON a.network = p.network AND a.failure = c.failure
    LEFT JOIN failures b ON b.network = p.network AND b.failure = c.second;
CREATE VIEW IF NOT EXISTS all_cases AS
    SELECT c.id, n.name AS network, p.matrix, p.scale, p.classes, p.weights, p.protection,
           p.replanning, f.name AS failure, p.offered, c.carried, p.refused, c.restored,
           c.again, c.lost, c.ended,
           CASE WHEN p.carried > 0 THEN c.lost / p.carried END AS lost_share,
           c.lsps_restored, c.lsps_again, c.lsps_lost, c.lsps_ended, c.worst_load, l.name AS worst_link, c.worst_class, c.overloads,
           c.error
    FROM cases c JOIN plans p USING (plan) JOIN networks n USING (network)
    JOIN case_names f ON f.plan = c.plan AND f.failure = c.failure
                     AND f.second = c.second
    LEFT JOIN links l ON l.network = p.network AND l.link = c.worst_link
    ORDER BY c.plan, c.failure, c.second;
CREATE VIEW IF NOT EXISTS all_levels AS
    SELECT c.id, v.class, v.level, v.offered, v.refused,
           v.carried - ifnull(x.lost, 0) - ifnull(x.ended, 0) AS carried,
           ifnull(x.restored, 0) AS restored, ifnull(x.again, 0) AS again,
           ifnull(x.lost, 0) AS lost, ifnull(x.ended, 0) AS ended
    FROM cases c JOIN plan_levels v USING (plan)
    LEFT JOIN case_levels x ON x.plan = c.plan AND x.failure = c.failure
        AND x.second = c.second AND x.class = v.class AND x.level = v.level
    WHERE c.error IS NULL ORDER BY c.plan, c.failure, c.second, v.class, v.level;
CREATE VIEW IF NOT EXISTS all_links AS
    SELECT p.id AS plan, n.name AS network, p.matrix, p.scale, p.classes, p.weights,
           p.protection, p.replanning, l.name AS link, w.class, w.capacity, w.usual,
           w.worst, CASE WHEN w.capacity > 0 THEN w.worst / w.capacity END AS worst_load,
           f.name AS failure
    FROM link_loads w JOIN plans p USING (plan) JOIN networks n USING (network)
    JOIN links l ON l.network = p.network AND l.link = w.link
    LEFT JOIN case_names f ON f.plan = w.plan AND f.failure = w.failure
                          AND f.second = w.second
    ORDER BY w.plan, w.link, w.class;
CREATE VIEW IF NOT EXISTS all_plans AS
    SELECT p.id, n.name AS network, p.matrix, p.scale, p.classes, p.weights, p.protection,
           p.replanning, p.requests, p.placed, p.backups, p.offered, p.carried, p.refused,
           p.protected, s.cases, s.failed, s.worst_lost, s.mean_lost, s.worst_load,
           s.overloaded, p.error
    FROM plans p JOIN networks n USING (network)
    LEFT JOIN (SELECT plan, count(*) AS cases, count(error) AS failed,
                      max(lost) AS worst_lost, avg(lost) AS mean_lost,
                      max(worst_load) AS worst_load,
                      count(CASE WHEN overloads > 0 THEN 1 END) AS overloaded
               FROM cases GROUP BY plan) s USING (plan)
    ORDER BY p.plan;
)sql";

}  // namespace workbench

// Asks DuckDB what the bench asks the other engines, and prints a line for each task: its name, the milliseconds of the
// processor (the median of nine) and the answers, parted by tabs. One thread, as the others have.
// usage: node ask.mjs FOLDER-OF-MODULES DATABASE PRESSINGS.csv FROM TO
import { existsSync, renameSync, rmSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";

const [modules, file, pressings, from, to] = process.argv.slice(2);
const { DuckDBInstance } = createRequire(join(modules, "ask.mjs"))("@duckdb/node-api");

async function connect(path) {
    return (await DuckDBInstance.create(path, { threads: "1" })).connect();
}

if (!existsSync(file)) {
    const part = `${file}.part`;
    rmSync(part, { force: true });
    const making = await connect(part);
    await making.run(`CREATE TABLE Hareket AS SELECT * FROM read_csv('${pressings.replaceAll("'", "''")}', header = true,
        columns = {'Tarih': 'DOUBLE', 'Zeytin': 'DOUBLE', 'Yağ': 'DOUBLE', 'Yuzde': 'DOUBLE', 'HakTut': 'DOUBLE',
                   'Nakit': 'BIGINT', 'CariHar': 'VARCHAR'})`);
    await making.run("CHECKPOINT");
    making.closeSync();
    renameSync(part, file);
}

const connection = await connect(file);
const month = `Tarih >= ${from} AND Tarih <= ${to}`;
const total = (rows, column) => rows.reduce((sum, row) => sum + Number(row[column]), 0);
const tasks = {
    "one month": [`SELECT * FROM Hareket WHERE ${month} ORDER BY Tarih`, (rows) => [rows.length, total(rows, 1)]],
    "four sums": [
        `SELECT sum(Zeytin), sum("Yağ"), sum(HakTut), sum(Nakit) FROM Hareket WHERE CariHar <> 'Toplamlar' AND ${month}`,
        (rows) => rows[0].map(Number),
    ],
    "olives by share": ["SELECT Yuzde, sum(Zeytin) FROM Hareket GROUP BY Yuzde", (rows) => [rows.length, total(rows, 1)]],
};
for (const [task, [sql, answersOf]] of Object.entries(tasks)) {
    const times = [];
    let answers = [];
    for (let round = 0; round < 10; ++round) {
        const begun = process.cpuUsage();
        answers = answersOf((await connection.runAndReadAll(sql)).getRows());
        const used = process.cpuUsage(begun);
        if (round > 0) times.push((used.user + used.system) / 1000); // the first one learns the way
    }
    times.sort((a, b) => a - b);
    console.log([task, times[4], ...answers].join("\t"));
}
connection.closeSync();

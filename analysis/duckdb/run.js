// node run.js DATABASE FILE.sql|STATEMENT...: runs them in order and writes the rows of statements as JSON, one
// array a line. For those without DuckDB's own client; run "npm ci" in this folder first.
const { readFileSync } = require('node:fs');
const { DuckDBInstance } = require('@duckdb/node-api');

async function main([database, ...statements]) {
  const instance = await DuckDBInstance.create(database);
  const connection = await instance.connect();
  for (const each of statements) {
    const isFile = each.endsWith('.sql');
    const reader = await connection.runAndReadAll(isFile ? readFileSync(each, 'utf8') : each);
    if (isFile) continue;
    for (const row of reader.getRowsJson()) process.stdout.write(JSON.stringify(row) + '\n');
  }
  connection.closeSync();
  instance.closeSync();
}

main(process.argv.slice(2)).catch((error) => {
  console.error(error.message);
  process.exitCode = 1;
});

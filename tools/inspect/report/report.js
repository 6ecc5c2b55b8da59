'use strict';
// Draws the page's figures. All texts come from documents, and are only ever set as text.
(() => {
  const data = JSON.parse(document.getElementById('data').textContent);
  const byId = (id) => document.getElementById(id);
  const SVG = 'http://www.w3.org/2000/svg';
  const ROWS = 50;
  const STATES = ['complete', 'crashed', 'abandoned', 'other'];
  const stateClass = (state) => (STATES.includes(state) ? state : 'other');
  const number = new Intl.NumberFormat('en');

  const element = (name, attributes = {}, ...children) => {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
    made.append(...children);
    return made;
  };
  const shape = (name, attributes, text) => {
    const made = document.createElementNS(SVG, name);
    for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
    if (text !== undefined) made.textContent = text;
    return made;
  };
  const short = (text, size) => {
    const characters = Array.from(text);
    return characters.length > size ? characters.slice(0, size - 1).join('') + '\u2026' : text;
  };
  // Writes control characters, and those that change the reading order, as escapes.
  const visible = (text) => String(text).replace(/[\u0000-\u001f\u007f-\u009f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069]/g,
    (c) => '\\u' + c.charCodeAt(0).toString(16).padStart(4, '0'));

  // A table's rows as objects, with the texts of their product.
  const rowsOf = (name) => data.tables[name].rows.map((values) => {
    const row = { family: null, product: null, version: null };
    data.tables[name].columns.forEach((column, i) => { row[column] = values[i]; });
    [row.family, row.product, row.version] = data.products[values[0]];
    row.application = [row.family, row.product].filter((text) => text !== null).join(' ') || '(unknown)';
    row.version = row.version ?? '(unknown)';
    return row;
  });
  const tables = Object.fromEntries(Object.keys(data.tables).map((name) => [name, rowsOf(name)]));

  const filterFields = ['product', 'version', 'state', 'from', 'to', 'search'].map(byId);
  const [product, version, state, from, to, search] = filterFields;
  const fill = (select, texts) => select.replaceChildren(new Option('all', ''),
    ...[...new Set(texts)].sort().map((text) => new Option(short(visible(text), 60), text)));
  const isOfProduct = (row) => (!product.value || row.application === product.value) &&
    (!version.value || row.version === version.value);
  const isInTime = (day) => (!from.value || (day ?? '') >= from.value) && (!to.value || (day ?? '') <= to.value);
  const isOfState = (row) => !state.value || row.state === state.value;
  const isFound = (row, columns) => {
    const wanted = search.value.toLowerCase();
    return !wanted || columns.some(([column]) => String(row[column] ?? '').toLowerCase().includes(wanted));
  };
  // Merges rows that agree in the keys, and adds their counts.
  const grouped = (rows, keys, counts) => {
    const groups = new Map();
    for (const row of rows) {
      const key = JSON.stringify(keys.map((column) => row[column]));
      const group = groups.get(key) ?? Object.fromEntries(
        [...keys.map((column) => [column, row[column]]), ...counts.map((column) => [column, 0])]);
      for (const column of counts) group[column] += row[column] ?? 0;
      groups.set(key, group);
    }
    return [...groups.values()];
  };
  const sum = (rows, column) => rows.reduce((total, row) => total + row[column], 0);

  // The reader's choices for a table: the column to sort by, and the number of rows.
  const choices = {};
  const compare = (a, b) => {
    if (a === b) return 0;
    if (a === null || a === undefined) return 1;
    if (b === null || b === undefined) return -1;
    return a < b ? -1 : 1;
  };

  const table = (id, columns, rows, sort, leftOut = 0) => {
    const choice = choices[id] ??= { column: sort, isDescending: true, rows: ROWS };
    const found = rows.filter((row) => isFound(row, columns));
    found.sort((a, b) => compare(a[choice.column], b[choice.column]) * (choice.isDescending ? -1 : 1));
    const isNumber = (column) => found.some((row) => typeof row[column] === 'number');
    const head = element('tr', {}, ...columns.map(([column, title]) => {
      const button = element('button', { type: 'button', 'data-sort': column }, title);
      button.addEventListener('click', () => {
        choice.isDescending = choice.column === column ? !choice.isDescending : isNumber(column);
        choice.column = column;
        draw();
        byId(id).querySelector(`[data-sort="${column}"]`)?.focus();
      });
      const cell = element('th', { scope: 'col', class: isNumber(column) ? 'number' : 'text' }, button);
      if (choice.column === column) cell.setAttribute('aria-sort', choice.isDescending ? 'descending' : 'ascending');
      return cell;
    }));
    const body = found.slice(0, choice.rows).map((row) => element('tr', {}, ...columns.map(([column]) => {
      const value = row[column];
      if (value === null || value === undefined) return element('td', { class: 'absent' }, '\u2013');
      return typeof value === 'number' ? element('td', { class: 'number' }, number.format(value))
        : element('td', { class: value.length <= 20 ? 'short' : 'text' }, visible(value));
    })));
    const parts = [];
    if (found.length === 0) {
      parts.push(element('p', {}, 'None.'));
    } else {
      parts.push(element('div', { class: 'scroll', tabindex: '0', role: 'region', 'aria-label': 'Table' },
        element('table', {}, element('thead', {}, head), element('tbody', {}, ...body))));
    }
    if (found.length > choice.rows) {
      const more = element('button', { type: 'button', class: 'more' },
        `Show more (${number.format(found.length - choice.rows)} rows)`);
      more.addEventListener('click', () => { choice.rows *= 4; draw(); });
      parts.push(more);
    }
    if (leftOut) parts.push(element('p', {}, `${number.format(leftOut)} more are left out of this page.`));
    return parts;
  };

  const put = (id, ...parts) => {
    const section = byId(id);
    section.replaceChildren(section.querySelector('h2'), ...parts.flat());
  };

  const legend = () => element('ul', { class: 'legend' }, ...STATES.map((name) =>
    element('li', {}, element('i', { class: name }), name === 'other' ? 'open or incomplete' : name)));

  // Bars by day; by month or year when there are too many days.
  const timePlot = (rows) => {
    const known = rows.filter((row) => row.day !== null);
    if (known.length === 0) return [element('p', {}, 'No session with a time.')];
    const days = [...new Set(known.map((row) => row.day))].sort();
    const span = (Date.parse(days.at(-1)) - Date.parse(days[0])) / 864e5;
    const isByDay = span <= 92;
    const isByMonth = !isByDay && span <= 92 * 30;
    const size = isByDay ? 10 : isByMonth ? 7 : 4;
    const bars = new Map();
    if (isByDay) {
      for (let i = 0; i <= span; ++i) {
        bars.set(new Date(Date.parse(days[0]) + i * 864e5).toISOString().slice(0, 10), {});
      }
    }
    for (const row of known) {
      const key = row.day.slice(0, size);
      const bar = bars.get(key) ?? {};
      const name = stateClass(row.state);
      bar[name] = (bar[name] ?? 0) + row.sessions;
      bars.set(key, bar);
    }
    const keys = [...bars.keys()].sort().slice(-400);
    const total = (bar) => STATES.reduce((all, name) => all + (bar[name] ?? 0), 0);
    const most = Math.max(1, ...keys.map((key) => total(bars.get(key))));
    const width = 1120, height = 220, left = 50, bottom = 24, top = 8;
    const step = (width - left) / keys.length;
    const high = height - bottom - top;
    const plot = shape('svg', { viewBox: `0 0 ${width} ${height}`, role: 'img',
      'aria-label': `Sessions from ${keys[0]} to ${keys.at(-1)}, at most ${most} at a time` });
    for (const part of [...new Set([0, Math.round(most / 2), most])]) {
      const y = top + high - high * part / most;
      plot.append(shape('line', { x1: left, x2: width, y1: y, y2: y, class: 'axis' }),
        shape('text', { x: left - 8, y: y + 4, 'text-anchor': 'end' }, number.format(part)));
    }
    keys.forEach((key, i) => {
      let y = top + high;
      const column = shape('g', {});
      column.append(shape('title', {}, `${key}: ` + STATES.filter((name) => bars.get(key)[name])
        .map((name) => `${number.format(bars.get(key)[name])} ${name}`).join(', ')));
      for (const name of STATES) {
        const part = high * (bars.get(key)[name] ?? 0) / most;
        if (part === 0) continue;
        y -= part;
        column.append(shape('rect', { x: left + i * step + step * 0.1, y, width: Math.min(step * 0.8, 40),
          height: Math.max(part - 1, 0.5), class: name }));
      }
      plot.append(column);
      if (i % Math.ceil(keys.length / 10) === 0) {
        plot.append(shape('text', { x: left + i * step + step * 0.1, y: height - 6 }, key));
      }
    });
    return [plot, legend()];
  };

  const barPlot = (rows, name, count, label) => {
    const top = [...rows].sort((a, b) => b[count] - a[count]).slice(0, 12);
    if (top.length === 0) return [];
    const most = Math.max(1, top[0][count]);
    const width = 1120, left = 380, row = 24;
    const plot = shape('svg', { viewBox: `0 0 ${width} ${top.length * row + 4}`, role: 'img', 'aria-label': label });
    top.forEach((entry, i) => {
      const long = (width - left - 90) * entry[count] / most;
      const bar = shape('g', {});
      bar.append(shape('title', {}, `${visible(name(entry))}: ${number.format(entry[count])}`),
        shape('text', { x: left - 10, y: i * row + 16, 'text-anchor': 'end', class: 'name' },
          short(visible(name(entry)), 44)),
        shape('rect', { x: left, y: i * row + 4, width: Math.max(long, 1), height: 16, rx: 2, class: 'complete' }),
        shape('text', { x: left + long + 6, y: i * row + 16 }, number.format(entry[count])));
      plot.append(bar);
    });
    return [plot];
  };

  const labels = (row) => [row.category, row.subcategory, row.name].filter((text) => text !== null).join(' / ');
  const LABELS = [['category', 'Category'], ['subcategory', 'Subcategory'], ['name', 'Name']];
  const SESSION = [['start', 'Start'], ['end', 'End'], ['state', 'State'], ['application', 'Product'],
    ['version', 'Version'], ['user', 'User'], ['files', 'Files'], ['records', 'Records'], ['events', 'Events'],
    ['errors', 'Errors'], ['session', 'Session']];

  const draw = () => {
    const of = (name) => tables[name].filter(isOfProduct);
    const leftOut = (name) => data.tables[name].left_out;
    const sessions = of('sessions').filter((row) => isOfState(row) && isInTime(row.start?.slice(0, 10)));
    const days = of('days').filter((row) => isOfState(row) && isInTime(row.day));
    const count = (name) => sum(days.filter((row) => row.state === name), 'sessions');
    const all = sum(days, 'sessions');
    const tile = (title, value) => element('div', {}, element('dt', {}, title), element('dd', {}, value));
    byId('tiles').replaceChildren(tile('Sessions', number.format(all)),
      tile('Crashed', number.format(count('crashed'))), tile('Abandoned', number.format(count('abandoned'))),
      tile('Without a crash', all ? (100 * (all - count('crashed')) / all).toFixed(1) + ' %' : '\u2013'),
      tile('Validation errors', number.format(sum(of('errors'), 'count'))));
    put('over-time', timePlot(days));

    const versions = grouped(days.map((row) => ({ ...row, crashed: row.state === 'crashed' ? row.sessions : 0,
      abandoned: row.state === 'abandoned' ? row.sessions : 0 })), ['application', 'version'],
    ['sessions', 'crashed', 'abandoned']);
    put('by-version', barPlot(versions, (row) => `${row.application} ${row.version}`, 'sessions', 'Sessions a version'),
      table('by-version', [['application', 'Product'], ['version', 'Version'], ['sessions', 'Sessions'],
        ['crashed', 'Crashed'], ['abandoned', 'Abandoned']], versions, 'sessions', leftOut('days')));

    const events = grouped(of('events'), ['category', 'subcategory', 'name'], ['count']);
    put('top-events', barPlot(events, labels, 'count', 'The most frequent events'),
      table('top-events', [...LABELS, ['count', 'Events']], events, 'count', leftOut('events')));
    const groups = grouped(of('groups'), ['category', 'subcategory', 'name'], ['count']);
    put('top-groups', table('top-groups', [...LABELS, ['count', 'Groups']], groups, 'count', leftOut('groups')));
    const errors = grouped(of('errors'), ['application', 'version', 'type', 'value'], ['count']);
    put('errors', table('errors', [['type', 'Error'], ['value', 'Text'], ['application', 'Product'],
      ['version', 'Version'], ['count', 'Times']], errors, 'count', leftOut('errors')));
    const machines = grouped(of('machines'), ['entry', 'value'], ['sessions']);
    put('machines', table('machines', [['entry', 'Entry'], ['value', 'Value'], ['sessions', 'Sessions']], machines,
      'sessions', leftOut('machines')));
    const failed = sessions.filter((row) => row.state === 'crashed' || row.state === 'abandoned');
    put('failures', table('failures', SESSION, failed, 'start', leftOut('sessions')));
    put('all-sessions', table('all-sessions', SESSION, sessions, 'start', leftOut('sessions')));
  };

  byId('about').textContent = `${number.format(data.sessions)} sessions of ${number.format(data.users)} users in ` +
    `${number.format(data.documents)} documents, read ${data.generated}. ` +
    `${number.format(data.opt_in_documents)} documents report changed opt-ins, ` +
    `${number.format(data.malformed)} records are malformed, ${number.format(data.unreadable)} files unreadable. ` +
    'Time and state choose among sessions; product and version choose everywhere.';
  fill(product, tables.days.map((row) => row.application));
  const fillVersions = () => fill(version, tables.days
    .filter((row) => !product.value || row.application === product.value).map((row) => row.version));
  fillVersions();
  fill(state, tables.days.map((row) => row.state));
  product.addEventListener('change', fillVersions);
  for (const field of filterFields) field.addEventListener('input', draw);
  const form = byId('filters');
  form.addEventListener('submit', (event) => event.preventDefault());
  form.addEventListener('reset', () => setTimeout(() => { fillVersions(); draw(); }));
  document.addEventListener('keydown', (event) => {
    if (event.key !== '/' || event.target.closest('input, select')) return;
    event.preventDefault();
    search.focus();
  });
  draw();
})();

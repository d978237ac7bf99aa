// The message table of the report: filters, severity and state toggles, grouping by
// id, sorting, pages and permalinks, over the messages embedded in the page as JSON.
// Every text from a log goes into the page through textContent, never as markup.
(function () {
  "use strict";

  const data = JSON.parse(document.getElementById("report-data").textContent);
  const messages = data.messages;
  // Positions inside one message array, as the tool writes them.
  const SEVERITY = 0, ID = 1, TEXT = 2, FILE = 3, LINE = 4, ORIGIN = 5, ORIGIN_LINE = 6, STATE = 7;
  const WAIVED = data.states.indexOf("waived");

  const byId = (id) => document.getElementById(id);
  const filterInput = byId("filter");
  const groupBox = byId("group-by-id");
  const pageSizeSelect = byId("page-size");
  const idChip = byId("id-chip");
  const statusLine = byId("status");
  const head = byId("head");
  const columns = byId("columns");
  const rows = byId("rows");
  const pager = byId("pager");

  const view = {
    words: [],
    severities: data.severities.map(() => true),
    states: data.states.map((_, state) => state !== WAIVED),
    id: null,
    grouped: false,
    sort: { key: "n", direction: 1 },
    groupSort: { key: "count", direction: -1 },
    page: 0,
    pageSize: Number(pageSizeSelect.value),
  };
  let ordered = null; // message indices in the current sort order
  let matching = []; // indices that pass the filters, in that order
  let groups = []; // the id groups of `matching` when grouped
  let haystacks = null; // lower-case search text per message, built at the first filter
  let pendingFilter = 0;

  const number = (value) => value.toLocaleString("en-US");
  const place = (file, line) => (file ? (line > 0 ? file + ":" + line : file) : "");
  const sourceOf = (m) => place(m[FILE] < 0 ? "" : data.files[m[FILE]], m[LINE]);
  const originOf = (m) => place(data.origins[m[ORIGIN]], m[ORIGIN_LINE]);
  // The table names files short, the full path shows on hover: a source by its file
  // name, a log by its path below the folder all logs share.
  const fileName = (path) => path.slice(path.lastIndexOf("/") + 1);
  function folderOfAll(paths) {
    if (!data.originsAreFiles || paths.length === 0) return "";
    let shared = paths[0].slice(0, paths[0].lastIndexOf("/") + 1);
    for (const path of paths) {
      while (shared && !path.startsWith(shared)) {
        const cut = shared.length > 1 ? shared.lastIndexOf("/", shared.length - 2) : -1;
        shared = cut < 0 ? "" : shared.slice(0, cut + 1);
      }
    }
    return shared;
  }
  const sharedFolder = folderOfAll(data.origins);
  const shortSource = (m) => place(m[FILE] < 0 ? "" : fileName(data.files[m[FILE]]), m[LINE]);
  const shortOrigin = (m) => place(data.origins[m[ORIGIN]].slice(sharedFolder.length), m[ORIGIN_LINE]);

  function element(tag, className, text) {
    const node = document.createElement(tag);
    if (className) node.className = className;
    if (text !== undefined) node.textContent = text;
    return node;
  }

  function badge(severity) {
    return element("span", "badge " + data.classes[severity], data.severities[severity]);
  }

  // --- filtering -------------------------------------------------------------

  function searchText(m) {
    return (m[ID] + "\n" + m[TEXT] + "\n" + sourceOf(m) + "\n" + originOf(m)).toLowerCase();
  }

  function passes(index) {
    const m = messages[index];
    if (!view.severities[m[SEVERITY]] || !view.states[m[STATE]]) return false;
    if (view.id !== null && m[ID] !== view.id) return false;
    if (view.words.length === 0) return true;
    if (haystacks === null) haystacks = messages.map(searchText);
    const text = haystacks[index];
    return view.words.every((word) => text.includes(word));
  }

  // --- sorting ---------------------------------------------------------------

  const sourceFileOf = (index) => (messages[index][FILE] < 0 ? "" : data.files[messages[index][FILE]]);
  const compareText = (a, b) => (a < b ? -1 : a > b ? 1 : 0);
  const messageKeys = {
    n: null,
    severity: (a, b) => messages[a][SEVERITY] - messages[b][SEVERITY],
    id: (a, b) => compareText(messages[a][ID], messages[b][ID]),
    state: (a, b) => messages[a][STATE] - messages[b][STATE],
    text: (a, b) => compareText(messages[a][TEXT], messages[b][TEXT]),
    source: (a, b) =>
      compareText(sourceFileOf(a), sourceFileOf(b)) || messages[a][LINE] - messages[b][LINE],
    origin: (a, b) =>
      messages[a][ORIGIN] - messages[b][ORIGIN] || messages[a][ORIGIN_LINE] - messages[b][ORIGIN_LINE],
  };

  function sortMessages() {
    const indices = messages.map((_, index) => index);
    const compare = messageKeys[view.sort.key];
    if (compare) {
      const direction = view.sort.direction;
      // Ties keep the order of the log, whichever way the column sorts.
      indices.sort((a, b) => direction * compare(a, b) || a - b);
    } else if (view.sort.direction < 0) {
      indices.reverse();
    }
    ordered = indices;
  }

  const groupKeys = {
    severity: (a, b) => a.severity - b.severity,
    id: (a, b) => compareText(a.id, b.id),
    count: (a, b) => a.count - b.count,
    text: (a, b) => compareText(messages[a.first][TEXT], messages[b.first][TEXT]),
    origin: (a, b) => a.first - b.first,
  };

  function buildGroups() {
    const byKey = new Map();
    for (const index of matching) {
      const m = messages[index];
      let group = byKey.get(m[ID]);
      if (!group) {
        group = { id: m[ID], count: 0, severity: m[SEVERITY], first: index };
        byKey.set(m[ID], group);
      }
      group.count += 1;
      group.severity = Math.min(group.severity, m[SEVERITY]);
      group.first = Math.min(group.first, index);
    }
    const compare = groupKeys[view.groupSort.key];
    const direction = view.groupSort.direction;
    groups = Array.from(byKey.values()).sort(
      (a, b) => direction * compare(a, b) || a.first - b.first);
  }

  // --- rendering -------------------------------------------------------------

  function headings() {
    if (view.grouped) {
      return [
        ["sev", "severity", "Severity"],
        ["id", "id", "Id"],
        ["count", "count", "Count"],
        ["", "text", "Example message"],
        ["loc", "origin", "First at"],
      ];
    }
    const list = [
      ["n", "n", "#"],
      ["sev", "severity", "Severity"],
      ["id", "id", "Id"],
    ];
    if (data.hasStates) list.push(["state", "state", "State"]);
    list.push(["", "text", "Message"], ["loc", "source", "Source"], ["loc", "origin", data.originLabel]);
    return list;
  }

  function renderHead() {
    const sort = view.grouped ? view.groupSort : view.sort;
    columns.replaceChildren();
    head.replaceChildren();
    for (const [width, key, label] of headings()) {
      columns.append(element("col", width));
      const cell = element("th", key === "count" ? "count" : "", label);
      cell.dataset.sort = key;
      cell.scope = "col";
      cell.title = "Sort by " + label.toLowerCase();
      if (key === sort.key) cell.setAttribute("aria-sort", sort.direction > 0 ? "ascending" : "descending");
      head.append(cell);
    }
  }

  function messageRow(index) {
    const m = messages[index];
    const anchor = "m-" + (index + 1);
    const row = element("tr", m[STATE] === WAIVED ? "waived" : "");
    row.id = anchor;
    const link = element("a", "", String(index + 1));
    link.href = "#" + anchor;
    link.title = "Link to this message";
    row.append(element("td", "n"), element("td"));
    row.cells[0].append(link);
    row.cells[1].append(badge(m[SEVERITY]));
    row.append(m[ID] ? element("td", "id", m[ID]) : element("td", "id none", "\u2014"));
    if (data.hasStates) {
      const cell = element("td");
      if (data.states[m[STATE]]) cell.append(element("span", "badge " + data.states[m[STATE]], data.states[m[STATE]]));
      row.append(cell);
    }
    row.append(element("td", "text", m[TEXT]), element("td", "loc", shortSource(m)), element("td", "loc", shortOrigin(m)));
    row.cells[row.cells.length - 2].title = sourceOf(m);
    row.cells[row.cells.length - 1].title = originOf(m);
    return row;
  }

  function groupRow(group) {
    const row = element("tr", "group");
    row.title = "Show the messages of this id";
    row.dataset.id = group.id;
    row.tabIndex = 0;
    row.append(element("td"));
    row.cells[0].append(badge(group.severity));
    row.append(group.id ? element("td", "id", group.id) : element("td", "id none", "(no id)"));
    row.append(element("td", "count", number(group.count)));
    row.append(element("td", "text", messages[group.first][TEXT]));
    row.append(element("td", "loc", shortOrigin(messages[group.first])));
    row.cells[4].title = originOf(messages[group.first]);
    return row;
  }

  function pageButton(label, page, enabled) {
    const button = element("button", "", label);
    button.type = "button";
    button.disabled = !enabled;
    button.addEventListener("click", () => {
      view.page = page;
      render();
      byId("messages").scrollIntoView();
    });
    return button;
  }

  function render() {
    const items = view.grouped ? groups : matching;
    const pages = Math.max(1, Math.ceil(items.length / view.pageSize));
    view.page = Math.min(Math.max(view.page, 0), pages - 1);
    const start = view.page * view.pageSize;
    const end = Math.min(items.length, start + view.pageSize);
    const fragment = document.createDocumentFragment();
    for (let position = start; position < end; ++position) {
      fragment.append(view.grouped ? groupRow(items[position]) : messageRow(items[position]));
    }
    rows.replaceChildren(fragment);

    const range = items.length === 0 ? "none" : number(start + 1) + "\u2013" + number(end);
    statusLine.textContent = view.grouped
      ? number(groups.length) + " ids over " + number(matching.length) + " matching messages (" +
        number(messages.length) + " in all); showing " + range
      : "Showing " + range + " of " + number(matching.length) + " matching messages (" +
        number(messages.length) + " in all)";
    statusLine.dataset.matching = String(matching.length);
    statusLine.dataset.total = String(messages.length);

    pager.replaceChildren(
      pageButton("\u00AB First", 0, view.page > 0),
      pageButton("\u2039 Previous", view.page - 1, view.page > 0),
      element("span", "", "Page " + number(view.page + 1) + " of " + number(pages)),
      pageButton("Next \u203A", view.page + 1, view.page < pages - 1),
      pageButton("Last \u00BB", pages - 1, view.page < pages - 1));
    pager.hidden = pages === 1;
  }

  // Filters changed: recompute the matching messages and show their first page. The
  // time it took since `start` is left in the page's timeline as "report-apply".
  function apply(start = performance.now()) {
    matching = ordered.filter(passes);
    if (view.grouped) buildGroups();
    view.page = 0;
    render();
    performance.measure("report-apply", { start: start, end: performance.now() });
  }

  // --- controls --------------------------------------------------------------

  function toggle(container, label, count, className, pressed, onChange) {
    const button = element("button", className, label + " " + number(count));
    button.type = "button";
    button.setAttribute("aria-pressed", String(pressed));
    button.addEventListener("click", () => {
      const now = button.getAttribute("aria-pressed") !== "true";
      button.setAttribute("aria-pressed", String(now));
      onChange(now);
      apply();
    });
    container.append(button);
    return button;
  }

  const severityCounts = data.severities.map(() => 0);
  const stateCounts = data.states.map(() => 0);
  for (const m of messages) {
    if (m[STATE] !== WAIVED) severityCounts[m[SEVERITY]] += 1;
    stateCounts[m[STATE]] += 1;
  }
  const severityButtons = data.severities.map((name, severity) =>
    toggle(byId("severity-toggles"), name, severityCounts[severity], data.classes[severity], true,
      (on) => { view.severities[severity] = on; }));
  // New and known mean something against a baseline only, waived with waivers only.
  const stateShown = (name) => (name === "waived" ? data.waivers : name !== "" && data.baseline);
  const stateButtons = data.states.map((name, state) =>
    stateShown(name)
      ? toggle(byId("state-toggles"), name, stateCounts[state], "state", view.states[state],
          (on) => { view.states[state] = on; })
      : null);

  function showId(id) {
    view.id = id;
    idChip.hidden = id === null;
    idChip.textContent = id === null ? "" : "Id: " + (id || "(no id)") + "  \u00D7";
    if (view.grouped && id !== null) {
      view.grouped = false;
      groupBox.checked = false;
      renderHead();
    }
    apply();
  }

  filterInput.addEventListener("input", () => {
    clearTimeout(pendingFilter);
    pendingFilter = setTimeout(() => {
      view.words = filterInput.value.toLowerCase().split(/\s+/).filter((word) => word);
      apply();
    }, 120);
  });
  idChip.addEventListener("click", () => showId(null));
  groupBox.addEventListener("change", () => {
    view.grouped = groupBox.checked;
    renderHead();
    apply();
  });
  pageSizeSelect.addEventListener("change", () => {
    view.pageSize = Number(pageSizeSelect.value);
    apply();
  });
  head.addEventListener("click", (event) => {
    const cell = event.target.closest("th");
    if (!cell) return;
    const start = performance.now();
    const sort = view.grouped ? view.groupSort : view.sort;
    const key = cell.dataset.sort;
    sort.direction = sort.key === key ? -sort.direction : key === "count" ? -1 : 1;
    sort.key = key;
    if (!view.grouped) sortMessages();
    renderHead();
    apply(start);
  });
  rows.addEventListener("click", (event) => {
    const row = event.target.closest("tr.group");
    if (row) showId(row.dataset.id);
  });
  rows.addEventListener("keydown", (event) => {
    const row = event.target.closest("tr.group");
    if (row && event.key === "Enter") showId(row.dataset.id);
  });
  for (const link of document.querySelectorAll("[data-id]")) {
    if (link.closest("#rows")) continue;
    link.addEventListener("click", () => showId(link.dataset.id));
  }
  document.addEventListener("keydown", (event) => {
    if (event.key === "Escape" && document.activeElement === filterInput && filterInput.value) {
      filterInput.value = "";
      filterInput.dispatchEvent(new Event("input"));
    } else if (event.key === "/" && document.activeElement !== filterInput) {
      event.preventDefault();
      filterInput.focus();
    }
  });

  // A permalink shows its message whatever the filters: they are cleared when they
  // would hide it.
  function showTarget() {
    const found = /^#m-(\d+)$/.exec(location.hash);
    const index = found ? Number(found[1]) - 1 : -1;
    if (index < 0 || index >= messages.length) return;
    if (view.grouped || !passes(index)) {
      view.words = [];
      filterInput.value = "";
      view.severities.fill(true);
      view.states.fill(true);
      severityButtons.forEach((button) => button.setAttribute("aria-pressed", "true"));
      stateButtons.forEach((button) => button && button.setAttribute("aria-pressed", "true"));
      view.grouped = false;
      groupBox.checked = false;
      view.id = null;
      idChip.hidden = true;
      renderHead();
      apply();
    }
    view.page = Math.floor(matching.indexOf(index) / view.pageSize);
    render();
    const row = byId("m-" + (index + 1));
    for (const old of rows.querySelectorAll("tr.target")) old.classList.remove("target");
    row.classList.add("target");
    row.scrollIntoView({ block: "center" });
  }
  window.addEventListener("hashchange", showTarget);

  sortMessages();
  renderHead();
  apply();
  showTarget();
  performance.mark("report-ready");
  document.body.dataset.ready = "true";
})();

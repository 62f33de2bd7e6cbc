// The page works without it but for opening instances, searching and the keys.
(() => {
  "use strict";

  // What PageData::AsJson writes.
  const { classes, instances, links } = JSON.parse(document.getElementById("data").textContent);
  const CLASS = 0, PATH = 1, NAME = 2, VALUES = 3;
  const MOST_LINKS = 100;

  const find = (id) => document.getElementById(id);
  const detail = find("detail"), search = find("search"), main = find("main");
  const openers = [...document.querySelectorAll("[data-opens]")];
  const covers = matchMedia("(max-width: 60rem)");  // as in page.css: the panel covers the page
  let openedBy = null;

  const make = (name, text, styleClass) => {
    const element = document.createElement(name);
    if (text !== undefined) element.textContent = text;
    if (styleClass) element.className = styleClass;
    return element;
  };

  // --- One instance ---

  // Properties as a table: keys first, as the rest of the program shows them.
  const tableOf = (rows) => {
    const table = make("table");
    for (const [name, type, isKey, value] of rows) {
      const row = table.insertRow();
      const head = make("th", name);
      head.scope = "row";
      head.title = isKey ? `${type}, key` : type;
      if (isKey) head.append(" ", make("span", "key", "key"));
      row.append(head);
      if (value !== null) row.append(make("td", value));
    }
    return table;
  };

  const showProperties = (instance) => {
    const rows = classes[instance[CLASS]].properties.map((each, i) => [...each, instance[VALUES][i]]);
    const told = rows.filter((row) => row[2] || row[3] !== null).sort((a, b) => b[2] - a[2]);
    const nulls = rows.filter((row) => !row[2] && row[3] === null);
    const box = find("detail-properties");
    box.replaceChildren(make("h3", "Properties"), tableOf(told.map(
        ([name, type, isKey, value]) => [name, type, isKey, value === null ? "NULL" : value])));
    if (nulls.length === 0) return;
    const more = make("details");
    more.append(make("summary", `${nulls.length} without a value (NULL)`), tableOf(nulls));
    box.append(more);
  };

  const showLinks = (number) => {
    const box = find("detail-links");
    box.replaceChildren();
    const found = links.filter(([, whole, part]) => whole === number || part === number);
    if (found.length === 0) return;
    const list = make("ul");
    for (const [association, whole, part] of found.slice(0, MOST_LINKS)) {
      const item = make("li"), other = whole === number ? part : whole;
      if (typeof other === "number") {
        const button = make("button", instances[other][NAME], "plain");
        button.type = "button";
        button.dataset.link = other;
        item.append(button);
      } else {
        item.append(make("span", `${other} (not on this page)`));
      }
      item.append(make("span", association, "association"));
      list.append(item);
    }
    if (found.length > MOST_LINKS) list.append(make("li", `and ${found.length - MOST_LINKS} more`));
    box.append(make("h3", "Linked with"), list);
  };

  const cover = () => {
    const isCovered = covers.matches && !detail.hidden;
    main.inert = isCovered;
    document.querySelector(".banner").inert = isCovered;
  };

  // What opens the instance that is shown.
  const mark = (number) => {
    for (const each of main.querySelectorAll("[aria-current]")) each.removeAttribute("aria-current");
    for (const each of main.querySelectorAll(`[data-opens="${number}"]`)) each.setAttribute("aria-current", "true");
  };

  const open = (number) => {
    const instance = instances[number];
    find("detail-class").textContent = classes[instance[CLASS]].name;
    find("detail-name").textContent = instance[NAME];
    find("detail-path").textContent = instance[PATH] ?? "none: the instance has no path";
    find("copy").hidden = instance[PATH] === null;
    find("copy").textContent = "Copy";
    showLinks(number);
    showProperties(instance);
    mark(number);
    detail.hidden = false;
    document.body.classList.add("with-detail");
    cover();
    detail.scrollTop = 0;
    find("detail-name").focus({ preventScroll: true });
  };

  const close = () => {
    detail.hidden = true;
    document.body.classList.remove("with-detail");
    cover();
    mark(null);
    openedBy?.focus();
  };

  main.addEventListener("click", (event) => openFrom(event.target));
  document.querySelector("h1").addEventListener("click", (event) => openFrom(event.target));
  const openFrom = (target) => {
    const opener = target.closest("[data-opens]");
    if (!opener) return;
    openedBy = opener;
    open(Number(opener.dataset.opens));
  };
  detail.addEventListener("click", (event) => {
    const link = event.target.closest("[data-link]");
    if (link) open(Number(link.dataset.link));
  });
  find("close").addEventListener("click", close);
  covers.addEventListener("change", cover);

  find("copy").addEventListener("click", async () => {
    getSelection().selectAllChildren(find("detail-path"));
    try {
      await navigator.clipboard.writeText(find("detail-path").textContent);
      find("copy").textContent = "Copied";
    } catch {
      find("copy").textContent = "Selected";  // a page from a file may not write to the clipboard everywhere
    }
  });

  // --- Search ---

  // What an element shows and every value of the instances that it opens, made when it is first asked for.
  const texts = new Map();
  const textOf = (element) => {
    let text = texts.get(element);
    if (text === undefined) {
      const parts = [element.textContent];
      for (const opener of element.querySelectorAll("[data-opens]")) {
        const instance = instances[opener.dataset.opens];
        parts.push(classes[instance[CLASS]].name, instance[PATH], ...instance[VALUES]);
      }
      text = parts.filter((part) => part).join("\n").toLowerCase();
      texts.set(element, text);
    }
    return text;
  };

  const searched = [...document.querySelectorAll("[data-find]")];
  const filter = () => {
    const phrase = search.value.trim().toLowerCase().replace(/\s+/g, " ");
    const words = phrase.split(" ");
    // "slot 3" means these words side by side; only where nobody has them so, both anywhere.
    let hits = searched.filter((element) => textOf(element).includes(phrase));
    if (hits.length === 0) hits = searched.filter((element) => words.every((word) => textOf(element).includes(word)));
    const shown = new Set(phrase === "" ? searched : hits);
    for (const element of searched) element.hidden = !shown.has(element);
    for (const box of document.querySelectorAll(".chassis, .bus"))
      box.hidden = phrase !== "" && !box.querySelector("[data-find]:not([hidden])");
    for (const section of document.querySelectorAll("main > section:not(.failures)"))
      section.hidden = phrase !== "" && !section.querySelector("[data-find]:not([hidden])");
    find("nothing").hidden = shown.size !== 0 || phrase === "";
    find("hits").textContent = phrase === "" ? "" : `${shown.size} of ${searched.length}`;
  };
  search.addEventListener("input", filter);

  // --- Keys ---

  const move = (from, step) => {
    const visible = openers.filter((each) => main.contains(each) && !each.closest("[hidden]"));
    const hit = visible.findIndex((each) => each.closest("[data-find]"));
    const next = { first: 0, last: visible.length - 1, hit }[step] ?? visible.indexOf(from) + step;
    visible[Math.max(0, Math.min(next, visible.length - 1))]?.focus();
  };
  const STEPS = { ArrowDown: 1, ArrowUp: -1, Home: "first", End: "last" };

  document.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    const target = event.target;
    if (event.key === "/" && target !== search) {
      if (!detail.hidden && covers.matches) close();
      search.focus();
      search.select();
    } else if (event.key === "Escape" && !detail.hidden) {
      close();
    } else if (event.key === "Escape" && search.value !== "") {
      search.value = "";
      filter();
    } else if (target === search && (event.key === "ArrowDown" || event.key === "Enter")) {
      move(null, "hit");
    } else if (target.dataset.opens !== undefined && STEPS[event.key] !== undefined) {
      move(target, STEPS[event.key]);
    } else {
      return;
    }
    event.preventDefault();
  });

  // --- Light and dark ---

  const prefersDark = matchMedia("(prefers-color-scheme: dark)");
  const theme = find("theme");
  const isDark = () => (document.documentElement.dataset.theme ?? (prefersDark.matches ? "dark" : "light")) === "dark";
  const nameTheme = () => { theme.textContent = isDark() ? "Light" : "Dark"; };
  theme.addEventListener("click", () => {
    document.documentElement.dataset.theme = isDark() ? "light" : "dark";
    nameTheme();
  });
  prefersDark.addEventListener("change", nameTheme);
  nameTheme();
})();

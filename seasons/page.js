// Draws the plots from the tables of the page and makes the long ones sortable. Without it the tables are all there.
(function () {
    'use strict';
    const turkish = new Intl.Collator('tr', {numeric: true});
    const figure = new Intl.NumberFormat('tr-TR', {maximumFractionDigits: 2});
    const months = ['Oca', 'Şub', 'Mar', 'Nis', 'May', 'Haz', 'Tem', 'Ağu', 'Eyl', 'Eki', 'Kas', 'Ara'];

    // ---- what stands in a cell ----

    const numberOf = text => /[0-9]/.test(text) ? Number(text.replace(/\./g, '').replace(',', '.')) : null;
    const dayOf = text => {
        const parts = text.split('.').map(Number);
        return parts.length === 3 ? Date.UTC(parts[2], parts[1] - 1, parts[0]) / 864e5 : null;
    };
    const dateOf = day => new Date(day * 864e5);
    const shortDay = day => dateOf(day).getUTCDate() + ' ' + months[dateOf(day).getUTCMonth()];
    const read = {text: text => text, number: numberOf, day: dayOf};

    function columnsOf(id) {
        const table = document.getElementById(id + '-tablo');
        const rows = Array.from(table.tBodies[0].rows);
        return Array.from(table.tHead.rows[0].cells, (head, i) => ({
            title: head.textContent,
            values: rows.map(row => read[head.dataset.kind](row.cells[i].textContent.trim()))
        }));
    }

    // ---- plots ----

    const plots = {
        gunler: {days: true, unit: 'kg', series: [
            {column: 3, colour: '--oil', kind: 'bar'}, {column: 2, colour: '--olives', kind: 'bar'}]},
        verim: {days: true, unit: '%', series: [
            {column: 2, colour: '--oil', kind: 'line'}, {column: 1, colour: '--olives', kind: 'points'}]},
        dagilim: {unit: 'sıkım', series: [{column: 1, colour: '--oil', kind: 'bar'}], touching: true},
        saatler: {unit: 'sıkım', series: [{column: 1, colour: '--olives', kind: 'bar'}]},
        hakedis: {weeks: true, unit: 'kg', series: [{column: 1, colour: '--oil', kind: 'bar'}]},
        nakit: {weeks: true, unit: 'TL', series: [{column: 1, colour: '--money', kind: 'bar'}]},
        buyukler: {unit: 'kg', series: [{column: 1, colour: '--olives', kind: 'bar'}], lying: true},
        kaplar: {unit: 'kap', series: [{column: 1, colour: '--oil', kind: 'bar'}]}
    };
    const colour = name => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
    const shortened = (name, length) => name.length > length ? name.slice(0, length - 1) + '…' : name;

    function ticksOfDays(axis) {
        const first = Math.ceil(axis.min), last = Math.floor(axis.max), months = last - first > 75;
        const wanted = [];
        for (let day = first; day <= last; ++day) {
            const date = dateOf(day);
            if (last - first < 10 || (months ? date.getUTCDate() === 1 : date.getUTCDay() === 1)) wanted.push({value: day});
        }
        axis.ticks = wanted;
    }

    function dataset(plot, series, columns) {
        const paint = colour(series.colour), values = columns[series.column].values;
        return {
            label: columns[series.column].title,
            data: plot.days ? values.map((y, i) => ({x: columns[0].values[i], y: y})) : values,
            type: series.kind === 'bar' ? 'bar' : 'line',
            backgroundColor: paint, borderColor: paint, borderWidth: series.kind === 'line' ? 2.5 : 0,
            showLine: series.kind === 'line', pointRadius: series.kind === 'points' ? 2.5 : 0, tension: .25,
            pointStyle: {bar: 'rect', line: 'line', points: 'circle'}[series.kind], spanGaps: true, grouped: !plot.days, maxBarThickness: 48,
            barPercentage: plot.days ? .8 : plot.touching ? 1 : .9, categoryPercentage: plot.touching ? .96 : .9
        };
    }

    // What lies far beyond the others does not touch them, and has its name whichever others have none.
    function setLastApart(columns) {
        const names = columns[0].values, last = names.length - 1;
        const next = i => names[i].split('–')[1];
        if (last > 0 && next(last - 1) !== names[last].split(/[– ]/)[0]) columns.forEach(column => column.values.splice(last, 0, null));
    }
    function ticksOfBins(bins, width) {
        const last = bins.length - 1, each = Math.ceil(bins.length * 48 / width);
        return index => bins[index] && (index === last || (index % each === 0 && last - index > each)) ? bins[index] : '';
    }

    function draw(canvas) {
        const plot = plots[canvas.dataset.plot], columns = columnsOf(canvas.dataset.plot);
        if (plot.touching) setLastApart(columns);
        const first = columns[0].values;
        const nothing = plot.series.every(series => columns[series.column].values.every(value => !value));
        canvas.parentNode.hidden = nothing;
        if (nothing) return null;
        const soft = colour('--soft'), line = colour('--line'), narrow = canvas.parentNode.clientWidth < 420;
        const amount = value => figure.format(value) + (plot.unit === '%' ? '' : ' ' + plot.unit);
        const values = {
            beginAtZero: plot.unit !== '%', border: {display: false}, grid: {color: line, drawBorder: false},
            ticks: {color: soft, maxRotation: 0, maxTicksLimit: plot.lying ? narrow ? 3 : 5 : 7, callback: value => figure.format(value)},
            title: {display: true, text: plot.unit, color: soft}
        };
        const names = plot.days
            ? {type: 'linear', offset: false, min: first[0] - .5, max: first[first.length - 1] + .5,
               afterBuildTicks: ticksOfDays, grid: {display: false},
               ticks: {color: soft, maxRotation: 0, autoSkipPadding: 12, callback: value => shortDay(value)}}
            : {grid: {display: false}, ticks: {color: soft, maxRotation: 0, autoSkipPadding: 8, autoSkip: !plot.lying}};
        if (plot.touching) Object.assign(names.ticks, {autoSkip: false, callback: ticksOfBins(first, canvas.parentNode.clientWidth)});
        const labels = plot.days ? undefined : plot.weeks ? first.map(shortDay) : first.map(name => shortened(name || '', narrow ? 15 : 24));
        const title = items => plot.days ? shortDay(items[0].parsed.x)
            : plot.weeks ? shortDay(first[items[0].dataIndex]) + ' haftası' : String(first[items[0].dataIndex]);
        return new Chart(canvas, {
            data: {labels: labels, datasets: plot.series.map(series => dataset(plot, series, columns))},
            options: {
                animation: false, responsive: true, maintainAspectRatio: false, locale: 'tr-TR',
                indexAxis: plot.lying ? 'y' : 'x', interaction: {mode: 'index', intersect: false, axis: plot.lying ? 'y' : 'x'},
                scales: plot.lying ? {x: values, y: names} : {x: names, y: values},
                plugins: {
                    legend: {display: plot.series.length > 1, reverse: true, position: 'top', align: 'end',
                             labels: {color: soft, usePointStyle: true, pointStyleWidth: 14}},
                    tooltip: {reverse: true, callbacks: {title: title, label: item =>
                        ' ' + item.dataset.label + ': ' + amount(plot.lying ? item.parsed.x : item.parsed.y)}}
                }
            }
        });
    }

    let drawn = [];
    function drawAll() {
        drawn.forEach(chart => chart.destroy());
        Chart.defaults.font.family = getComputedStyle(document.body).fontFamily;
        drawn = Array.from(document.querySelectorAll('canvas[data-plot]'), draw).filter(Boolean);
    }

    // ---- tables ----

    const step = 100;

    function makeSortable(table) {
        const body = table.tBodies[0], heads = Array.from(table.tHead.rows[0].cells);
        const all = Array.from(body.rows);
        let wanted = all, shown = step;

        const box = table.parentNode;
        const tools = document.createElement('div'), search = document.createElement('input'),
              found = document.createElement('output'), more = document.createElement('button');
        tools.className = 'tools';
        search.type = 'search';
        search.placeholder = 'Süzmek için yazın';
        search.setAttribute('aria-label', 'Tabloyu süz');
        more.className = 'more';
        more.textContent = 'Daha fazla göster';
        tools.append(search, found);
        box.before(tools);
        box.after(more);

        function show() {
            const now = wanted.slice(0, shown);
            body.replaceChildren(...now);
            more.hidden = now.length === wanted.length;
            found.textContent = figure.format(wanted.length) + ' satır' +
                (more.hidden ? '' : ', ' + figure.format(now.length) + ' tanesi gösteriliyor');
        }
        function filter() {
            const text = search.value.trim().toLocaleLowerCase('tr');
            wanted = all.filter(row => row.textContent.toLocaleLowerCase('tr').includes(text));
            show();
        }
        function sort(head) {
            const column = heads.indexOf(head), kind = head.dataset.kind, was = head.getAttribute('aria-sort');
            // Names begin with A, figures with the largest.
            const up = was ? was === 'descending' : kind === 'text';
            heads.forEach(each => each.removeAttribute('aria-sort'));
            head.setAttribute('aria-sort', up ? 'ascending' : 'descending');
            const keys = new Map(all.map(row => [row, read[kind](row.cells[column].textContent.trim())]));
            all.sort((one, other) => {
                const a = keys.get(one), b = keys.get(other);
                if (a === null || b === null) return (a === null) - (b === null); // what is missing stands last
                return (kind === 'text' ? turkish.compare(a, b) : a - b) * (up ? 1 : -1);
            });
            filter();
        }
        heads.forEach(head => {
            const button = document.createElement('button');
            button.type = 'button';
            head.dataset.title = head.textContent; // for paper
            button.append(...head.childNodes);
            button.addEventListener('click', () => sort(head));
            head.append(button);
        });
        search.addEventListener('input', () => { shown = step; filter(); });
        more.addEventListener('click', () => { shown *= 4; show(); });
        show();
    }

    document.querySelectorAll('.list table').forEach(makeSortable);
    const print = document.createElement('button');
    print.className = 'print';
    print.textContent = 'Yazdır ya da PDF';
    print.addEventListener('click', () => window.print());
    document.querySelector('header').append(print);
    if (typeof Chart === 'undefined') {
        document.querySelectorAll('.plot').forEach(plot => { plot.hidden = true; });
        return;
    }
    drawAll();
    const dark = window.matchMedia('(prefers-color-scheme: dark)');
    dark.addEventListener('change', drawAll);
    // Paper is white and has a width of its own.
    window.matchMedia('print').addEventListener('change', drawAll);
    window.addEventListener('beforeprint', drawAll);
    window.addEventListener('afterprint', drawAll);
}());

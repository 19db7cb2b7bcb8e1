// Looks for today's pressings again and again, as long as somebody looks at the page.
(function () {
    'use strict';
    const often = 5000; // milliseconds
    const today = document.getElementById('bugun'), state = document.getElementById('canli');
    let mark = '', seen = '';

    async function look() {
        try {
            const answer = await fetch('/bugun', {headers: mark ? {'If-None-Match': mark} : {}, cache: 'no-store'});
            if (answer.status === 403) return location.reload();
            if (!answer.ok && answer.status !== 304) throw answer;
            if (answer.ok) {
                today.innerHTML = await answer.text();
                mark = answer.headers.get('ETag') || '';
            }
            seen = new Date().toLocaleTimeString('tr');
            state.textContent = 'Canlı, ' + seen;
            state.className = '';
        } catch (fault) {
            state.textContent = 'Sayaca ulaşılamıyor' + (seen ? '; görülen ' + seen + ' saatine ait' : '') + '.';
            state.className = 'warning';
        }
    }
    setInterval(() => { if (!document.hidden) look(); }, often);
    document.addEventListener('visibilitychange', () => { if (!document.hidden) look(); });
    look();
}());

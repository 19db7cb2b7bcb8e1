// Looks for today's pressings again and again, as long as somebody looks at the page.
(function () {
    'use strict';
    const often = 5000, patience = 15000; // milliseconds
    const today = document.getElementById('bugun'), state = document.getElementById('canli');
    let mark = '', seen = '', looking = false;

    // A net that swallows what is sent says nothing for minutes.
    async function look() {
        if (looking) return;
        looking = true;
        const stop = new AbortController(), late = setTimeout(() => stop.abort(), patience);
        try {
            const answer = await fetch('/bugun', {headers: mark ? {'If-None-Match': mark} : {}, cache: 'no-store', signal: stop.signal});
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
        } finally {
            clearTimeout(late);
            looking = false;
        }
    }

    // A code that this telephone has read although it is known: it is taken, so that nobody else can take it, and the
    // telephone's time begins anew. It does not stay in the address, which may become a bookmark.
    async function enter() {
        const invitation = location.hash.slice(1);
        if (!invitation) return;
        history.replaceState(null, '', '/');
        try {
            await fetch('/giris', {headers: {'X-Davet': invitation}});
        } catch (fault) { /* the page says itself when nobody answers */ }
    }
    addEventListener('hashchange', enter);
    enter();
    setInterval(() => { if (!document.hidden) look(); }, often);
    document.addEventListener('visibilitychange', () => { if (!document.hidden) look(); });
    look();
}());

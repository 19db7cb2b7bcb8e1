-- The mill's books on a server. One section for each version; the program brings a database forward section by section,
-- each in the transaction that writes its number into presva.surum. A section that was shipped is never changed.
--
-- Numbers are float8: a double of the file comes back to the bit. Moments are the file's day numbers (days since
-- 1899-12-30, local time of the mill), float8 too: a timestamp would lose or shift some of them.

-- version 1

create schema presva authorization presva_sahip;

create table presva.surum (
    surum integer primary key,
    zaman timestamptz not null default now()
);

-- Each counter has its own books here, under the name that the mill gave it. Numbers are given once and never again.
create table presva.sayaclar (
    sayac text primary key check (sayac <> ''),
    son_numara bigint not null default 0,
    aktarildi timestamptz
);

-- A row is known by its counter and that counter's number for it: so it can be stored once only.
create table presva.cari (
    satir integer generated always as identity primary key,
    sayac text not null references presva.sayaclar,
    numara bigint not null,
    unvan text check (char_length(unvan) <= 100), -- as many as a field of the file takes
    yuzde float8,
    kap text check (char_length(kap) <= 50),
    nakit float8,
    -- By which names are ordered: the program's own key, because no collation of the server orders as the counter does.
    unvan_sira bytea check ((unvan_sira is null) = (unvan is null)),
    -- By which names are searched, whatever the case of their letters: I and ı, İ and i are two letters.
    unvan_kucuk text collate "C" generated always as (translate(unvan,
            'ABCDEFGHIJKLMNOPQRSTUVWXYZÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖØÙÚÛÜÝÞĀĂĄĆ'
            'ĈĊČĎĐĒĔĖĘĚĜĞĠĢĤĦĨĪĬĮİĲĴĶĹĻĽĿŁŃŅŇŊŌŎŐŒŔŖŘŚŜŞŠŢŤŦŨŪŬŮŰŲŴŶŸŹŻŽ',
            'abcdefghıjklmnopqrstuvwxyzàáâãäåæçèéêëìíîïðñòóôõöøùúûüýþāăąć'
            'ĉċčďđēĕėęěĝğġģĥħĩīĭįiĳĵķĺļľŀłńņňŋōŏőœŕŗřśŝşšţťŧũūŭůűųŵŷÿźżž')) stored,
    unique (sayac, numara)
);
create index on presva.cari (unvan);
create index on presva.cari (unvan_sira);
create index on presva.cari (unvan_kucuk);

create function presva.sira_ister() returns trigger language plpgsql as
$$
begin
    raise exception 'unvan yalnız unvan_sira ile birlikte değiştirilir';
end
$$;
create trigger sira_ister before update of unvan on presva.cari for each row
    when (new.unvan is distinct from old.unvan and new.unvan_sira is not distinct from old.unvan_sira)
    execute function presva.sira_ister();

-- The sums of a report are no pressing, and belong to the counter that asked for them: they stay there.
create table presva.hareket (
    satir integer generated always as identity primary key,
    sayac text not null references presva.sayaclar,
    numara bigint not null,
    tarih float8,
    zeytin float8,
    yag float8,
    yuzde float8,
    haktut float8,
    nakit float8,
    carihar text check (char_length(carihar) <= 100 and carihar <> 'Toplamlar'),
    unique (sayac, numara)
);
create index on presva.hareket (tarih);
create index on presva.hareket (carihar);

-- Who changed what. Nobody writes here but the trigger.
create table presva.gecmis (
    sira bigint generated always as identity primary key,
    zaman timestamptz not null default clock_timestamp(),
    kullanan text not null default session_user,
    sayac text default current_setting('presva.sayac', true),
    tablo text not null,
    ne text not null,
    satir integer not null,
    eski jsonb,
    yeni jsonb
);

create function presva.gecmise_yaz() returns trigger
    language plpgsql security definer set search_path = pg_catalog, presva as
$$
declare
    derived constant text[] := array['unvan_sira', 'unvan_kucuk'];
begin
    -- What is worked out of a name says nothing new.
    if tg_op = 'INSERT' then
        insert into gecmis (tablo, ne, satir, yeni)
            values (tg_table_name, tg_op, new.satir, to_jsonb(new) - derived);
    elsif tg_op = 'UPDATE' then
        insert into gecmis (tablo, ne, satir, eski, yeni)
            values (tg_table_name, tg_op, new.satir, to_jsonb(old) - derived, to_jsonb(new) - derived);
    else
        insert into gecmis (tablo, ne, satir, eski)
            values (tg_table_name, tg_op, old.satir, to_jsonb(old) - derived);
    end if;
    return null;
end
$$;

create trigger gecmis after insert or update or delete on presva.cari
    for each row execute function presva.gecmise_yaz();
create trigger gecmis after insert or update or delete on presva.hareket
    for each row execute function presva.gecmise_yaz();

grant usage on schema presva to presva_sayac, presva_buro;
grant select on presva.surum, presva.sayaclar, presva.cari, presva.hareket, presva.gecmis to presva_sayac, presva_buro;
grant insert, update, delete on presva.cari, presva.hareket to presva_sayac;
grant insert, update on presva.sayaclar to presva_sayac;

-- version 2

-- Several counters may share one register. Its rows stand under the register's name in `sayac`; `giren` says which
-- counter entered a pressing. A register that is filled anew, on another server or from an old dump, is another one.
alter table presva.sayaclar add column kimlik uuid not null default gen_random_uuid();
alter table presva.hareket add column giren text default nullif(current_setting('presva.giren', true), '');
create index on presva.hareket (sayac, carihar);
create index on presva.cari (sayac, unvan);

-- The history is what counters follow: each has a number up to which it knows it. `kimlik` is the change by which a row
-- came to be so; a row of table 'is' stands behind the rows of each change that a counter has brought.
alter table presva.gecmis add column giren text default nullif(current_setting('presva.giren', true), '');
alter table presva.gecmis add column kimlik uuid default nullif(current_setting('presva.kimlik', true), '')::uuid;
update presva.gecmis set sayac = coalesce(yeni, eski) ->> 'sayac';
create index on presva.gecmis (sayac, sira);

create or replace function presva.gecmise_yaz() returns trigger
    language plpgsql security definer set search_path = pg_catalog, presva as
$$
declare
    derived constant text[] := array['unvan_sira', 'unvan_kucuk'];
begin
    -- What is worked out of a name says nothing new. The register is the row's own, whoever wrote it.
    if tg_op = 'INSERT' then
        insert into gecmis (sayac, tablo, ne, satir, yeni)
            values (new.sayac, tg_table_name, tg_op, new.satir, to_jsonb(new) - derived);
    elsif tg_op = 'UPDATE' then
        insert into gecmis (sayac, tablo, ne, satir, eski, yeni)
            values (new.sayac, tg_table_name, tg_op, new.satir, to_jsonb(old) - derived, to_jsonb(new) - derived);
    else
        insert into gecmis (sayac, tablo, ne, satir, eski)
            values (old.sayac, tg_table_name, tg_op, old.satir, to_jsonb(old) - derived);
    end if;
    return null;
end
$$;

-- Whoever writes waits until nobody else does. So numbers of the history become visible in their order, and "all behind
-- this number" forgets nobody who began earlier and ended later.
create function presva.tek_tek() returns trigger language plpgsql as
$$
begin
    perform pg_advisory_xact_lock(20011207); -- any number that nobody else uses
    return null;
end
$$;
create trigger tek_tek before insert or update or delete on presva.cari
    for each statement execute function presva.tek_tek();
create trigger tek_tek before insert or update or delete on presva.hareket
    for each statement execute function presva.tek_tek();

create function presva.duyur() returns trigger language plpgsql as
$$
begin
    perform pg_notify('presva', '');
    return null;
end
$$;
create trigger duyur after insert or update or delete on presva.cari
    for each statement execute function presva.duyur();
create trigger duyur after insert or update or delete on presva.hareket
    for each statement execute function presva.duyur();

-- Changes that counters have brought: none is done a second time, also when what it wrote is gone again.
create table presva.islenen (
    kimlik uuid primary key,
    ozet text not null -- what it said
);

-- Does changes of a counter, all or none, in their order:
--   {"kimlik": U, "ne": "sikim", "tarih": "45000.5", "zeytin": ..., "carihar": "Ali"}       a pressing comes
--   {"kimlik": U, "ne": "cari", "unvan": "Ali", "sira": HEX, "yuzde": "12", ...}           these terms of a customer
--   {"kimlik": U, "ne": "sikimlar-sil", "carihar": "Ali", "gorulen": 17, "kendi": [U...]}  its pressings go
--   {"kimlik": U, "ne": "cari-sil", "unvan": "Ali", "gorulen": 17, "kendi": [U...]}        the customer goes
-- Numbers are texts, so that a double stays the same one. Who deletes has seen the history up to `gorulen`, and has
-- brought `kendi` since: what others have written behind that was not meant, and stays.
create function presva.islet(defter text, sayan text, isler jsonb) returns void
    language plpgsql security definer set search_path = pg_catalog, presva as
$$
declare
    bir jsonb;
    kim uuid;
    ad text;
    once text;
    no bigint;
    kendi uuid[];
begin
    perform from sayaclar s where s.sayac = defter for update;
    if not found then
        raise exception 'bu adda bir defter yok: %', defter using errcode = 'P0002';
    end if;
    perform pg_advisory_xact_lock(20011207);
    perform set_config('presva.giren', sayan, true);
    for bir in select jsonb_array_elements(isler) loop
        kim := (bir ->> 'kimlik')::uuid;
        select i.ozet into once from islenen i where i.kimlik = kim;
        if found then
            if once <> md5(bir::text) then
                raise exception 'bu kimlikle başka bir kayıt var: %', kim using errcode = '23505';
            end if;
            continue;
        end if;
        insert into islenen values (kim, md5(bir::text));
        perform set_config('presva.kimlik', kim::text, true);
        select coalesce(array_agg(k::uuid), '{}') into kendi from jsonb_array_elements_text(bir -> 'kendi') k;
        ad := coalesce(bir ->> 'unvan', bir ->> 'carihar');
        if bir ->> 'ne' = 'sikim' then
            update sayaclar s set son_numara = son_numara + 1 where s.sayac = defter returning son_numara into no;
            insert into hareket (sayac, numara, tarih, zeytin, yag, yuzde, haktut, nakit, carihar)
                values (defter, no, (bir ->> 'tarih')::float8, (bir ->> 'zeytin')::float8, (bir ->> 'yag')::float8,
                        (bir ->> 'yuzde')::float8, (bir ->> 'haktut')::float8, (bir ->> 'nakit')::float8, ad);
        elsif bir ->> 'ne' = 'cari' then
            update cari c
                set yuzde = case when bir ? 'yuzde' then (bir ->> 'yuzde')::float8 else yuzde end,
                    kap = case when bir ? 'kap' then bir ->> 'kap' else kap end,
                    nakit = case when bir ? 'nakit' then (bir ->> 'nakit')::float8 else nakit end
                where c.sayac = defter and c.unvan = ad;
            if not found then
                update sayaclar s set son_numara = son_numara + 1 where s.sayac = defter returning son_numara into no;
                insert into cari (sayac, numara, unvan, unvan_sira, yuzde, kap, nakit)
                    values (defter, no, ad, decode(bir ->> 'sira', 'hex'), (bir ->> 'yuzde')::float8, bir ->> 'kap',
                            (bir ->> 'nakit')::float8);
            end if;
        elsif bir ->> 'ne' = 'sikimlar-sil' then
            delete from hareket h
                where h.sayac = defter and h.carihar = ad
                  and not exists (select from gecmis g
                                  where g.sayac = defter and g.sira > (bir ->> 'gorulen')::bigint
                                    and g.tablo = 'hareket' and g.ne = 'INSERT' and g.satir = h.satir
                                    and (g.kimlik is null or g.kimlik <> all (kendi)));
        elsif bir ->> 'ne' = 'cari-sil' then
            if exists (select from gecmis g
                       where g.sayac = defter and g.sira > (bir ->> 'gorulen')::bigint
                         and g.tablo = 'cari' and g.ne <> 'DELETE' and g.yeni ->> 'unvan' = ad
                         and (g.kimlik is null or g.kimlik <> all (kendi))) then
                update cari c set nakit = nakit where c.sayac = defter and c.unvan = ad; -- so that the counter hears of it
            else
                delete from cari c where c.sayac = defter and c.unvan = ad;
            end if;
        else
            raise exception 'bilinmeyen iş: %', bir ->> 'ne' using errcode = '22023';
        end if;
        insert into gecmis (sayac, tablo, ne, satir) values (defter, 'is', 'BITTI', 0);
    end loop;
    perform set_config('presva.kimlik', '', true);
    perform pg_notify('presva', '');
end
$$;
revoke execute on function presva.islet from public;
grant execute on function presva.islet to presva_sayac;

-- version 3

-- A session's own tables come before all others unless they are named: a counter's user could have put one in the place of
-- the history.
alter function presva.gecmise_yaz() set search_path = pg_catalog, presva, pg_temp;
alter function presva.islet(text, text, jsonb) set search_path = pg_catalog, presva, pg_temp;

-- A register that counters share is no counter's own copy, though both stand under a name of their own.
alter table presva.sayaclar add column ortak boolean not null default false;
update presva.sayaclar s set ortak = true
    where exists (select from presva.hareket h where h.sayac = s.sayac and h.giren <> h.sayac)
       or exists (select from presva.gecmis g where g.sayac = s.sayac and (g.tablo = 'is' or g.giren <> g.sayac));

-- A table that is emptied at once would leave no line in the history, and the counters their rows.
create function presva.bosaltilmaz() returns trigger language plpgsql as
$$
begin
    raise exception 'bu tablo truncate ile boşaltılmaz: sayaçlar duymaz';
end
$$;
create trigger bosaltilmaz before truncate on presva.cari for each statement execute function presva.bosaltilmaz();
create trigger bosaltilmaz before truncate on presva.hareket for each statement execute function presva.bosaltilmaz();

-- Whose register it is, no counter changes.
revoke update on presva.sayaclar from presva_sayac;
grant update (son_numara, aktarildi, ortak) on presva.sayaclar to presva_sayac;

-- Everybody takes the one lock first, and the rows behind it: a counter that joins holds it while it numbers its rows.
-- What was done already is said once more to be done, in its turn: a counter may be past the line that said it first.
-- Terms of a slip whose pressing could not be stored with them may differ when it is stored: the first ones stay.
alter function presva.islet(text, text, jsonb) rename to islet_sirayla;
revoke execute on function presva.islet_sirayla(text, text, jsonb) from presva_sayac;
create function presva.islet(defter text, sayan text, isler jsonb) returns void
    language plpgsql security definer set search_path = pg_catalog, presva, pg_temp as
$$
declare
    bir jsonb;
begin
    perform pg_advisory_xact_lock(20011207);
    perform set_config('presva.giren', sayan, true);
    for bir in select jsonb_array_elements(isler) loop
        if exists (select from islenen i where i.kimlik = (bir ->> 'kimlik')::uuid
                                           and (i.ozet = md5(bir::text) or bir ->> 'ne' = 'cari')) then
            perform set_config('presva.kimlik', bir ->> 'kimlik', true);
            insert into gecmis (sayac, tablo, ne, satir) values (defter, 'is', 'BITTI', 0);
        else
            perform islet_sirayla(defter, sayan, jsonb_build_array(bir));
        end if;
    end loop;
    perform pg_notify('presva', '');
end
$$;
revoke execute on function presva.islet(text, text, jsonb) from public;
grant execute on function presva.islet(text, text, jsonb) to presva_sayac;

-- version 4

-- What was done before is answered with what stands there now: the counter that brings it once more has taken it for new,
-- and what others have changed since is behind it in the history.
create or replace function presva.islet(defter text, sayan text, isler jsonb) returns void
    language plpgsql security definer set search_path = pg_catalog, presva, pg_temp as
$$
declare
    bir jsonb;
begin
    perform pg_advisory_xact_lock(20011207);
    perform set_config('presva.giren', sayan, true);
    for bir in select jsonb_array_elements(isler) loop
        if exists (select from islenen i where i.kimlik = (bir ->> 'kimlik')::uuid
                                           and (i.ozet = md5(bir::text) or bir ->> 'ne' = 'cari')) then
            perform set_config('presva.kimlik', bir ->> 'kimlik', true);
            insert into gecmis (sayac, tablo, ne, satir, eski, yeni)
                values (defter, 'is', 'VARDI', 0, bir,
                        (select to_jsonb(c) - array['unvan_sira', 'unvan_kucuk'] from cari c
                         where c.sayac = defter and c.unvan = bir ->> 'unvan'));
        else
            perform islet_sirayla(defter, sayan, jsonb_build_array(bir));
        end if;
    end loop;
    perform pg_notify('presva', '');
end
$$;

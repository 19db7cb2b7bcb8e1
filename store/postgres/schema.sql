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

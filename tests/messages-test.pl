#!/usr/bin/env perl
# Every message that the program's sources log, and every reason that they give in one, has its line in a table of
# docs/messages.md.
use strict;
use warnings;
use File::Find;
use FindBin;

my $top = "$FindBin::Bin/..";
my $missing = 0;

sub slurp {
    open my $file, '<', shift or die $!;
    local $/;
    return scalar <$file>;
}

# What stands in the first column of a table, as code: in there somewhere, not in the explanations.
my @documented = map { /`([^`]+)`/g } slurp("$top/docs/messages.md") =~ /^\|([^|]*)\|/gm;
my %subjects = map { /^([a-z][a-z ]*): / ? ($1 => 1) : () } @documented;
my $subjects = join '|', sort keys %subjects;

# Some entry has all that lies between the places that are filled in, in that order; and begins so, if it is a start.
sub is_documented {
    my ($message, $is_start) = @_;
    my @parts = grep { /\w{3}/ && !/HH:mm/ } map { s/^[\s(]+|[\s(]+$//gr } split /%\d+/, $message;
    return 1 unless @parts;
    my $pattern = ($is_start && $message =~ /^\w/ ? '^' : '') . join '.*', map { quotemeta } @parts;
    return grep { /$pattern/ } @documented;
}

sub expect {
    my ($source, $message, $is_start) = @_;
    return if is_documented($message, $is_start);
    print "$source: \"$message\" is not in docs/messages.md\n";
    $missing++;
}

my $text = qr/"((?:[^"\\]|\\.)*)"/;
my $literal = qr/(?:QStringLiteral\(\s*|\bu)$text/;
# What an argument of log() is made by, where there is no literal in it: its texts begin with a subject.
my $made_elsewhere = qr/^\((?:const QString &message|message|line|\*failure|start \+.*|sayingOf\(.*|url \+.*)\)$/s;
my ($calls, $reasons) = (0, 0);

sub check {
    my $source = shift;
    my $code = slurp($source);
    $code =~ s{^\s*//.*$}{}gm;
    $code =~ s/"\s*"//g; # literals that are continued on the next line
    while ($code =~ /(?<![\w.>:])(?:corvella::)?log(\((?:[^()"]|$text|(?1))*\))/g) {
        my $call = $1;
        my @messages = $call =~ /$literal/g;
        $calls++;
        expect($source, $messages[$_], $_ == 0) for 0 .. $#messages;
        next if $call =~ $made_elsewhere || grep { /\w{3}/ } @messages;
        print "$source: nobody knows what log$call says\n";
        $missing++;
    }
    while ($code =~ /logFromSignal\(\s*"corvella: (.*?)\\n"/g) {
        $calls++;
        expect($source, $1, 1);
    }
    # Wherever else a text begins as messages do.
    expect($source, $_, 1) for grep { /^(?:$subjects): ./ } $code =~ /$literal/g;
    # Reasons. Two are never told.
    return unless $source =~ m{/(?:HttpSession|RemoteImagery|ClipSource|FrameQueue|ReaderProcess|ClipDecoder|FFmpegClip|UpdatePreparation|Installation|PictureFile)\.cpp$};
    for my $reason ($code =~ /(?:ClipError\{|EndOfLap\{|complaint = |failure = |\.reason = |fault\(\s*UpdateFault::\w+,\s*(?:[\w.]+ \+ )?|complain\(\w+, |silence = |return )$literal/g) {
        $reasons++;
        expect($source, $reason) unless $reason =~ /^(?:cancelled|checked less than a day ago)$/;
    }
}

find({no_chdir => 1, wanted => sub { check($_) if /\.(?:cpp|h)$/ }}, "$top/main", "$top/saver");
# What starts the builds has one of its own.
for (slurp("$top/packaging/launcher") =~ /echo "corvella: ([^"]*)"/g) {
    $calls++;
    expect('packaging/launcher', s/\$\w+/%1/gr, 1);
}
die "only $calls messages and $reasons reasons found\n" if $calls < 60 || $reasons < 25;
exit($missing ? 1 : 0);

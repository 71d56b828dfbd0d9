#!/usr/bin/env perl
# Every message that the program's sources log has its line in docs/messages.md.
use strict;
use warnings;
use File::Find;
use FindBin;

my $top = "$FindBin::Bin/..";

sub slurp {
    open my $file, '<', shift or die $!;
    local $/;
    return scalar <$file>;
}

my $page = slurp("$top/docs/messages.md");
my ($calls, $missing) = (0, 0);
my $literal = qr/"((?:[^"\\]|\\.)*)"/;

sub check {
    my $source = shift;
    my $text = slurp($source);
    while ($text =~ /(?<![\w.>:])log(\((?:[^()"]|$literal|(?1))*\))/g) {
        my $call = $1;
        $call =~ s/"\s*"//g; # literals that are continued on the next line
        $calls++;
        for my $message ($call =~ /(?:QStringLiteral\(|u)"((?:[^"\\]|\\.)*)"/g) {
            # What lies between the places that are filled in.
            for my $part (grep { /\w{3}/ } split /%\d+/, $message) {
                $part =~ s/^[\s(]+|[\s(]+$//g;
                next if $part =~ /^[\w+:. -]*HH:mm/ || index($page, $part) >= 0;
                print "$source: \"$part\" is not in docs/messages.md\n";
                $missing++;
            }
        }
    }
}

find({no_chdir => 1, wanted => sub { check($_) if /\.cpp$/ }}, grep { -d } "$top/main", "$top/saver");
die "only $calls messages found\n" if $calls < 40;
exit($missing ? 1 : 0);
